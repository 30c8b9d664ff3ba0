// Crosses the border between a host and the installed libraries: texts go in, a name comes out, and
// a failure is thrown over it.
#include <cerrno>
#include <cstdio>

#include "cul/platform/CUL_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"

namespace {

bool findsShell() {
  FileName found;
  EncodedString const path("/nowhere:/bin", EncodedString::kSystemText);
  FileName const shell(EncodedString("sh", EncodedString::kSystemText));
  return CUL_Api::findFile(shell, path, found) == 0 &&
         found == EncodedString("/bin/sh", EncodedString::kSystemText);
}

bool catchesFailure() {
  try {
    CUL_Api::write(-1, "", 1);
  } catch (CUL_ApiFailure const& failure) {
    return failure.rc == EBADF && !failure.reason.isEmpty();
  }
  return false;
}

}  // namespace

int main() {
  bool const good = findsShell() && catchesFailure();
  std::puts(good ? "the installed libraries serve this host" : "the installed libraries fail");
  return good ? 0 : 1;
}
