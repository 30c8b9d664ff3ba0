#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <system_error>
#include <vector>

#include "Child.h"
#include "Parts.h"
#include "Text.h"
#include "cul/environment/CUL_Environment.h"

namespace {

// What "env" writes, each variable ended by a zero byte, when it is started with this array.
std::string seenByChild(char** array) {
  ChildResult const result = inChild([array](int out) {
    ::dup2(out, STDOUT_FILENO);
    std::string program = "/usr/bin/env", option = "-0";
    char* const words[] = {program.data(), option.data(), nullptr};
    pid_t child = 0;
    int const error = ::posix_spawn(&child, program.c_str(), nullptr, nullptr, words, array);
    if (error != 0) throw std::system_error(error, std::generic_category(), program);
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  });
  return result.status == 0 ? result.output : std::string();
}

}  // namespace

void startChild(Parts& parts) {
  parts.display.heading("A child is started with an edited environment");
  for (char const* name : {"CUL_MODE", "CUL_TEXT"}) ::unsetenv(name);  // are to come last
  std::string expected;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::string const text(*entry);
    if (!text.starts_with("PATH=") && text.find('=') != std::string::npos) expected += text + '\0';
  }
  std::unique_ptr<CUL_Environment> const environment(CUL_Environment::newEnvironment());
  environment->localEnvironment();
  unsigned const before = environment->numvars();
  for (unsigned had = before + 1; environment->numvars() < had;) {
    had = environment->numvars();
    environment->remove(systemText("PATH"));
  }
  struct Variable {
    char const *name, *value;
  };
  for (auto [name, value] : {Variable{"CUL_MODE", "a=b"}, {"CUL_TEXT", "\xC3\xA9 \xFF\n"}}) {
    environment->set(systemText(name), systemText(value));
    parts.display.line("%s=%s", name, name == std::string("CUL_MODE") ? value : "(not UTF-8)");
    expected += std::string(name) + '=' + value + '\0';
  }
  parts.display.line("%u variables of this process, %u of the child", before,
                     environment->numvars());
  parts.checks.confirm(seenByChild(environment->envp()) == expected,
                       "the child sees them byte for byte, and in order");
}
