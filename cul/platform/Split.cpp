#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <utility>

#include "cul/base/Append.h"
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

  // The next word, which may be empty. Most are bare: one run and nothing else.
  std::unique_ptr<EncodedString> takeWord() {
    char const* const begin = next_;
    next_ = endOfRun(next_, false);
    auto word = std::make_unique<EncodedString>(begin, static_cast<unsigned int>(next_ - begin),
                                                EncodedString::kLibraryText);
    takeRest(*word);
    return word;
  }

 private:
  void takeRest(EncodedString& word) {
    bool quoted = false;
    while (next_ != end_ && (quoted || !isSpace(*next_))) {
      if (*next_ == '"') {
        quoted = !quoted;
        ++next_;
      } else if (*next_ == '\\') {
        ++next_;
        if (next_ != end_) take(word, next_ + 1);
      } else {
        take(word, endOfRun(next_ + 1, quoted));
      }
    }
  }

  static constexpr int kBlock = 16;  // bytes

  static bool isSpace(char character) { return character == ' ' || character == '\t'; }

  // The end of the characters from `end` on that stand for themselves. Most words end within the
  // first sixteen, at a place that a loop over single bytes could not foresee.
  char const* endOfRun(char const* end, bool quoted) const {
    for (; end_ - end >= kBlock; end += kBlock) {
      auto const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(end));
      auto const is = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
      auto special = _mm_or_si128(is('"'), is('\\'));
      if (!quoted) special = _mm_or_si128(special, _mm_or_si128(is(' '), is('\t')));
      auto const places = static_cast<unsigned int>(_mm_movemask_epi8(special));
      if (places != 0) return end + std::countr_zero(places);
    }
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
  constexpr unsigned int kUsualLength = 8;  // of a word and a blank
  constexpr unsigned int kManyWords = 64;
  if (words.isEmpty()) words.reserve(std::min(text.length() / kUsualLength, kManyWords));
  Splitter splitter(text);
  while (splitter.skipSpace()) {
    auto word = splitter.takeWord();
    if (!word->isEmpty()) append(words, std::move(word));
  }
}
