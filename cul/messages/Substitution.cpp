#include "cul/messages/Substitution.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string_view>

#include "quonutil/text/CharString.h"

namespace {

using Inserts = List<EncodedString*>;

constexpr char kMark = '%';

std::string_view view(EncodedString const& text) { return {text.data(), text.length()}; }

// The inserts whose placeholders have one digit. Those behind them are only reached when a
// replacement makes a placeholder: of "%10" the first insert takes its "%1".
unsigned int reachable(Inserts const& inserts) { return std::min(inserts.count(), 9U); }

// True when no replacement makes a new placeholder, so that the order of them does not matter: no
// insert brings a mark with it, and no mark in the text stands where an insert comes to lie behind
// it.
bool isIndependent(std::string_view text, Inserts const& inserts) {
  for (unsigned int i = 0; i < reachable(inserts); ++i) {
    if (view(*inserts[i]).find(kMark) != std::string_view::npos) return false;
  }
  return text.find("%%") == std::string_view::npos;
}

// What the result is made of, piece by piece.
template <class Visit>
void forEachPiece(std::string_view text, Inserts const& inserts, Visit visit) {
  unsigned int const count = reachable(inserts);
  std::size_t start = 0;
  for (std::size_t at = text.find(kMark); at < text.size(); at = text.find(kMark, at + 1)) {
    unsigned int const digit = at + 1 < text.size() ? static_cast<unsigned char>(text[at + 1]) : 0U;
    unsigned int const insert = digit - '1';  // far out of range when it is no digit
    if (insert >= count) continue;
    visit(text.substr(start, at - start));
    visit(view(*inserts[insert]));
    start = at + 2;
  }
  visit(text.substr(start));
}

// All at once, byte by byte: no byte of a character in UTF-8 is a mark or a digit.
EncodedString substituteAtOnce(std::string_view text, Inserts const& inserts) {
  std::size_t length = 0;
  forEachPiece(text, inserts, [&](std::string_view piece) { length += piece.size(); });
  EncodedString result;
  result.reserve(static_cast<unsigned int>(
      std::min(length, std::size_t{std::numeric_limits<unsigned int>::max()})));
  forEachPiece(text, inserts, [&](std::string_view piece) {
    result.append(piece.data(), static_cast<unsigned int>(piece.size()));
  });
  return result;
}

CharString wide(EncodedString const& text) {
  CharString characters;
  characters.loadFrom(text.data(), text.length(), EncodedString::kLibraryText);
  return characters;
}

EncodedString substituteInTurn(EncodedString const& text, Inserts const& inserts) {
  CharString result = wide(text);
  for (unsigned int i = 1; i <= inserts.count(); ++i) {
    CharString placeholder(L"%");
    CharString const number = CharString::makeFromNumeric(i);
    placeholder.append(number.data(), number.length());
    result.change(placeholder, wide(*inserts[i - 1]), 1);
  }
  return result.encoded();
}

}  // namespace

EncodedString substitute(EncodedString const& text, Inserts const& inserts) {
  if (isIndependent(view(text), inserts)) return substituteAtOnce(view(text), inserts);
  return substituteInTurn(text, inserts);
}
