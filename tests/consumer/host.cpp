// Crosses the border between a host and the installed libraries: texts go in, a name comes out, and
// a failure is thrown over it. Shows a message, with an argument in the language of that locale.
#include <cerrno>
#include <cstdio>

#include "cul/messages/CUL_Message.h"
#include "cul/messages/CUL_Product.h"
#include "cul/platform/CUL_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"

int main(int argc, char** argv) {
  auto const text = [](char const* bytes) {
    return EncodedString(bytes, EncodedString::kSystemText);
  };
  if (argc > 1) CUL_Product::instance()->set_locale(text(argv[1]));
  std::puts(CUL_Message(MsgID{1, 2}).text().data());
  FileName found;
  try {
    if (CUL_Api::findFile(FileName(text("sh")), text("/nowhere:/bin"), found) != 0) return 1;
    CUL_Api::write(-1, "", 1);
  } catch (CUL_ApiFailure const& failure) {
    std::printf("the installed libraries serve this host, and %s\n", found.data());
    bool const isTold = failure.rc == EBADF && !failure.reason.isEmpty();
    return isTold && found == text("/bin/sh") ? 0 : 1;
  }
  return 1;
}
