// Any bytes survive being made wide and narrow again, whole and in tokens; so do wide characters of
// any value once they have been narrow.

#include <cstring>

#include "fuzz/Harness.h"
#include "quonutil/text/CharString.h"

void check(std::string const& bytes) {
  CharString rest, any, again;
  rest.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  require(bytesOf(rest.encoded()) == bytes);
  std::string joined;
  while (!rest.isEmpty()) {
    joined += bytesOf(rest.firstToken(L":/"));
    if (joined.size() < bytes.size()) joined += bytes[joined.size()];
  }
  require(joined == bytes);

  any.makeBuffer(static_cast<unsigned int>(bytes.size() / sizeof(wchar_t)));
  std::memcpy(any.data(), bytes.data(), any.length() * sizeof(wchar_t));
  EncodedString const narrow = any.encoded();
  again.loadFrom(narrow.data(), narrow.length(), EncodedString::kLibraryText);
  require(again.encoded() == narrow);
}
