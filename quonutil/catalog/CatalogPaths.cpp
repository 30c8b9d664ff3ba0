#include "quonutil/catalog/CatalogPaths.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr std::string_view kBuiltIns =
    "/usr/share/locale/%L/%N:/usr/share/locale/%L/LC_MESSAGES/%N:"
    "/usr/share/locale/%l/%N:/usr/share/locale/%l/LC_MESSAGES/%N";
constexpr std::string_view kPercent = "%";

// Takes the text up to one of `ends`, or all of it, off the front of `rest`.
std::string_view take(std::string_view& rest, std::string_view ends) {
  std::string_view const taken = rest.substr(0, rest.find_first_of(ends));
  rest.remove_prefix(taken.size());
  return taken;
}

// Takes a part that `mark` introduces, when it is next.
std::string_view takeMarked(std::string_view& rest, char mark, std::string_view ends) {
  if (rest.empty() || rest.front() != mark) return {};
  rest.remove_prefix(1);
  return take(rest, ends);
}

void append(EncodedString& path, std::string_view text) {
  path.append(text.data(), static_cast<unsigned int>(text.size()));
}

}  // namespace

CatalogPaths::CatalogPaths(std::string_view locale, std::string_view catalog) noexcept
    : catalog_(catalog), locale_(locale), builtIns_(kBuiltIns) {
  std::string_view rest = locale;
  language_ = take(rest, "_.@");
  territory_ = takeMarked(rest, '_', ".@");
  codeset_ = takeMarked(rest, '.', "@");
  if (char const* const templates = ::secure_getenv("NLSPATH")) users_ = templates;
}

bool CatalogPaths::next(EncodedString& path) {
  std::string_view pattern;
  while (nextTemplate(pattern)) {
    path = EncodedString("", EncodedString::kSystemText);
    if (expand(pattern, path)) return true;
  }
  return false;
}

bool CatalogPaths::nextTemplate(std::string_view& pattern) {
  std::string_view& rest = users_.empty() ? builtIns_ : users_;
  if (rest.empty()) return false;
  pattern = take(rest, ":");
  rest.remove_prefix(std::min<std::size_t>(rest.size(), 1));
  if (pattern.empty()) pattern = "%N";
  return true;
}

// False when the template has a field that nobody knows.
bool CatalogPaths::expand(std::string_view pattern, EncodedString& path) const {
  while (!pattern.empty()) {
    append(path, take(pattern, kPercent));
    if (pattern.empty()) break;
    std::string_view const* const value = pattern.size() < 2 ? nullptr : field(pattern[1]);
    if (value == nullptr) return false;
    append(path, *value);
    pattern.remove_prefix(2);
  }
  return true;
}

std::string_view const* CatalogPaths::field(char letter) const {
  switch (letter) {
    case 'N': return &catalog_;
    case 'L': return &locale_;
    case 'l': return &language_;
    case 't': return &territory_;
    case 'c': return &codeset_;
    case '%': return &kPercent;
    default: return nullptr;
  }
}
