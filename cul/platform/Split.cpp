#include <cstring>
#include <memory>

#include "cul/platform/CUL_Api.h"

namespace {

// Takes a text apart. All that has a meaning is ASCII, and no byte of a longer character is: so the
// bytes need no decoding.
class Splitter {
 public:
  explicit Splitter(EncodedString const& text)
      : next_(text.data()), end_(text.data() + text.length()) {}

  // Steps over blanks and tabs; false at the end of the text.
  bool skipSpace() {
    while (next_ != end_ && isSpace(*next_)) ++next_;
    return next_ != end_;
  }

  // Puts the next word into `word`, which may stay empty.
  void takeWord(EncodedString& word) {
    bool quoted = false;
    while (next_ != end_ && (quoted || !isSpace(*next_))) {
      if (*next_ == '"') {
        quoted = !quoted;
        ++next_;
      } else if (*next_ == '\\') {
        ++next_;
        if (next_ != end_) take(word, next_ + 1);
      } else {
        take(word, endOfRun(quoted));
      }
    }
  }

 private:
  static bool isSpace(char character) { return character == ' ' || character == '\t'; }

  // The end of the characters from here on that stand for themselves.
  char const* endOfRun(bool quoted) const {
    char const* end = next_ + 1;
    while (end != end_ && *end != '"' && *end != '\\' && (quoted || !isSpace(*end))) ++end;
    return end;
  }

  void take(EncodedString& word, char const* end) {
    word.append(next_, static_cast<unsigned int>(end - next_));
    next_ = end;
  }

  char const* next_;
  char const* end_;
};

}  // namespace

void CUL_Api::split(EncodedString const& text, List<EncodedString*>& words) {
  Splitter splitter(text);
  while (splitter.skipSpace()) {
    auto word = std::make_unique<EncodedString>();
    splitter.takeWord(*word);
    if (word->isEmpty()) continue;
    words.append(word.get());
    static_cast<void>(word.release());
  }
}
