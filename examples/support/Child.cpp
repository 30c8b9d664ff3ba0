#include "Child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace {

constexpr int kBroken = 127;

int require(int result, char const* call) {
  if (result == -1) throw std::system_error(errno, std::generic_category(), call);
  return result;
}

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// No destructor of the parent's objects may run here: they would remove what the parent still uses.
[[noreturn]] void runAndExit(std::function<int(int)> const& act, int out) noexcept {
  try {
    ::_exit(act(out));
  } catch (...) {
    ::_exit(kBroken);
  }
}

}  // namespace

ChildResult inChild(std::function<int(int)> const& act) {
  int ends[2];
  require(::pipe(ends), "pipe");
  Stream const from(::fdopen(ends[0], "r"));
  Stream to(::fdopen(ends[1], "w"));
  std::fflush(stdout);  // or the child would have it to write too
  pid_t const child = require(::fork(), "fork");
  if (child == 0) runAndExit(act, ends[1]);
  to.reset();
  ChildResult result{};
  for (int byte; (byte = std::getc(from.get())) != EOF;) result.output += static_cast<char>(byte);
  int status = 0;
  require(::waitpid(child, &status, 0), "waitpid");
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

ChildResult runProgram(std::vector<std::string> words, std::string const& home) {
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  return inChild([&](int out) {
    ::dup2(out, STDOUT_FILENO);
    ::setenv("HOME", home.c_str(), 1);
    ::execvp(arguments[0], arguments.data());
    return kBroken;
  });
}
