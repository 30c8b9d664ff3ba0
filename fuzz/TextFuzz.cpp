// Texts and file names made of any bytes: nothing is lost on the way through wide characters, the
// parts of a name make up the name, and a path that has been folded folds no further.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "quonutil/names/FileName.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void checkSplitAndJoin(EncodedString const& text) {
  CharString rest;
  rest.loadFrom(text.data(), text.length(), EncodedString::kSystemText);
  require(rest.encoded() == text);
  EncodedString joined;
  while (!rest.isEmpty()) {
    unsigned int const before = rest.length();
    joined += rest.firstToken(L":").encoded();
    if (joined.length() < text.length()) joined += EncodedString(":", EncodedString::kLibraryText);
    require(rest.length() < before);
  }
  require(joined == text);
}

void checkName(EncodedString const& text) {
  FileName name(text);
  EncodedString const member = name.member();
  EncodedString const base = name.base();
  require(name.directory() + name.short_name() == text);
  require(member.isEmpty() ? base == name.short_name()
                           : base.length() + member.length() + 2 == name.short_name().length());
  name.rationalizePath(EncodedString("/d", EncodedString::kSystemText));
  EncodedString const folded = name;
  name.rationalizePath(EncodedString());
  require(name == folded && (text.isEmpty() || folded.data()[0] == '/'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  EncodedString const text(reinterpret_cast<char const*>(bytes), static_cast<unsigned int>(size),
                           EncodedString::kSystemText);
  checkSplitAndJoin(text);
  checkName(text);
  return 0;
}
