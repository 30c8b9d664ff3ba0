// Crosses the border between a host and the installed libraries: texts go in, a name comes out, and
// a failure is thrown over it. With a locale, shows a message in its language.
#include <cerrno>
#include <cstdio>

#include "cul/messages/CUL_Message.h"
#include "cul/messages/CUL_Product.h"
#include "cul/platform/CUL_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"

int main(int argc, char** argv) {
  if (argc > 1) {
    CUL_Product::instance()->set_locale(EncodedString(argv[1], EncodedString::kSystemText));
    std::puts(CUL_Message(MsgID{1, 2}, List<EncodedString const*>()).text().data());
    return 0;
  }
  FileName found;
  EncodedString const path("/nowhere:/bin", EncodedString::kSystemText);
  FileName const shell(EncodedString("sh", EncodedString::kSystemText));
  if (CUL_Api::findFile(shell, path, found) != 0) return 1;
  try {
    CUL_Api::write(-1, "", 1);
  } catch (CUL_ApiFailure const& failure) {
    if (failure.rc != EBADF || failure.reason.isEmpty()) return 1;
    std::printf("the installed libraries serve this host, and %s\n", found.data());
    return found == EncodedString("/bin/sh", EncodedString::kSystemText) ? 0 : 1;
  }
  return 1;
}
