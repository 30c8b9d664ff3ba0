// Words and quotes, against a reader that goes byte by byte.

#include "cul/platform/CUL_Api.h"
#include "fuzz/Harness.h"
#include "quonutil/collections/AutoList.h"

void check(std::string const& bytes) {
  AutoList<EncodedString*> words;
  CUL_Api::split(text(bytes), words);
  Strings found, expected(1);
  for (unsigned int i = 0; i < words.count(); ++i) found.push_back(bytesOf(*words[i]));

  bool quoted = false, literal = false;  // what the next byte is
  for (char byte : bytes) {
    bool const escapes = !literal && byte == '\\', quotes = !literal && byte == '"';
    bool const ends = !literal && !quoted && (byte == ' ' || byte == '\t');
    if (ends) expected.emplace_back();
    if (!escapes && !quotes && !ends) expected.back() += byte;
    quoted ^= quotes;
    literal = escapes;
  }
  std::erase(expected, "");
  require(found == expected);
}
