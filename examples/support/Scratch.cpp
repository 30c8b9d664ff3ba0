#include "Scratch.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace {

// Tells the directory's path, and removes it when nobody holds the other end any longer. Before it
// makes anything it sees to it that a signal to all of the host's name or group does not end it.
void keep(int end, std::string path) noexcept {
  for (int each : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) std::signal(each, SIG_IGN);
  ::setsid();
  if (::mkdtemp(path.data()) == nullptr) return;
  ::send(end, path.data(), path.size(), MSG_NOSIGNAL);
  char nothing;
  ::recv(end, &nothing, 1, 0);  // nothing ever comes but the end
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

}  // namespace

Scratch::Scratch() : path_(PATH_MAX, '\0') {
  std::string const pattern = std::filesystem::temp_directory_path() / "cul-example.XXXXXX";
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0 ||
      (keeper_ = ::fork()) == -1) {
    throw std::system_error(errno, std::generic_category(), "the keeper of " + pattern);
  }
  if (keeper_ == 0) {
    ::close(ends[0]);
    keep(ends[1], pattern);
    ::_exit(EXIT_SUCCESS);
  }
  ::close(ends[1]);
  end_ = ends[0];
  auto const length = ::recv(end_, path_.data(), path_.size(), 0);
  if (length <= 0) throw std::runtime_error("cannot make a directory " + pattern);
  path_.resize(static_cast<std::size_t>(length));
}

bool Scratch::remove() {
  if (end_ != -1) {
    ::close(end_);
    ::waitpid(keeper_, nullptr, 0);
    end_ = -1;
  }
  return ::access(path_.c_str(), F_OK) != 0;
}
