// File names of any bytes: the parts make up the name, the member is the one that balanced
// parentheses give, and a folded path is what a stack of its components gives.

#include <algorithm>
#include <vector>

#include "fuzz/Harness.h"
#include "quonutil/names/FileName.h"

namespace {

// The parenthesis that the last byte closes, or 0.
std::size_t openingOfLast(std::string const& name) {
  std::vector<std::size_t> open(1, 0);
  std::size_t last = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    last = name[i] == ')' ? open.back() : 0;
    if (name[i] == '(') open.push_back(i);
    if (name[i] == ')' && open.size() > 1) open.pop_back();
  }
  return last;
}

std::string fold(std::string const& path) {
  bool const isAbsolute = path.starts_with('/');
  Strings parts;
  for (std::size_t next = 0, end; next < path.size(); next = end + 1) {
    end = std::min(path.find('/', next), path.size());
    std::string const part = path.substr(next, end - next);
    if (part == ".." && !parts.empty() && parts.back() != "..") {
      parts.pop_back();
    } else if (part != "" && part != "." && !(part == ".." && isAbsolute)) {
      parts.push_back(part);
    }
  }
  std::string folded;
  for (auto const& part : parts) folded += "/" + part;
  if (!isAbsolute) folded = folded.empty() ? "." : folded.substr(1);
  return folded.empty() || path.ends_with('/') ? folded + '/' : folded;
}

}  // namespace

void check(std::string const& bytes) {
  FileName name(text(bytes));
  std::string const directory = bytes.substr(0, bytes.rfind('/') + 1);
  std::string const own = bytes.substr(directory.size());
  require(bytesOf(name.directory()) == directory && bytesOf(name.short_name()) == own);
  std::size_t const opening = openingOfLast(own);
  bool const hasMember = opening != 0 && opening + 2 < own.size();
  require(bytesOf(name.base()) == (hasMember ? own.substr(0, opening) : own));
  name.change_member(name.member());
  require(bytesOf(name) == bytes);
  for (std::string const place : {"", "/d", "../e/"}) {
    name.rationalizePath(text(place));
    bool const isWhole = place.empty() || bytes.starts_with('/');
    require(bytesOf(name) == (bytes.empty() ? "" : fold(isWhole ? bytes : place + "/" + bytes)));
    name = text(bytes);
  }
}
