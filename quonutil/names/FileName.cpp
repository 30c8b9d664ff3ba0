#include "quonutil/names/FileName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr char kPathSeparator = ':';

bool isUsable(char const* path, bool executableOnly) {
  struct stat status;
  if (::stat(path, &status) != 0 || S_ISDIR(status.st_mode)) return false;
  return !executableOnly || ::faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) == 0;
}

// The 0-based place of the parenthesis that the final one of `text` closes, 0 when there is none.
unsigned int openingOfLast(char const* text, unsigned int length) {
  if (length == 0 || text[length - 1] != ')') return 0;
  unsigned int depth = 0;
  for (unsigned int i = length; i-- > 0;) {
    if (text[i] == ')') ++depth;
    if (text[i] == '(' && --depth == 0) return i;
  }
  return 0;
}

// Cuts the last component off a folded path. A path that has none to give up, because it is empty
// or ends in a "..", takes one more "..".
void climb(EncodedString& folded, bool absolute) {
  char const* const begin = folded.data();
  unsigned int const length = folded.length();
  auto const* const slash = static_cast<char const*>(::memrchr(begin, '/', length));
  char const* const last = slash == nullptr ? begin : slash + 1;
  auto const lastLength = static_cast<unsigned int>(begin + length - last);
  bool const stuck = lastLength == 0 || (lastLength == 2 && std::memcmp(last, "..", 2) == 0);
  if (!stuck) {
    folded.cut(
        static_cast<unsigned int>((slash == nullptr || slash == begin ? last : slash) - begin));
  } else if (!absolute) {
    if (lastLength != 0) folded.append("/", 1);
    folded.append("..", 2);
  }
}

// The path without ".", ".." and repeated "/".
EncodedString fold(EncodedString const& path) {
  EncodedString folded("", path.encoding());
  folded.reserve(path.length());
  bool const absolute = path.data()[0] == '/';
  if (absolute) folded.append("/", 1);
  char const* const end = path.data() + path.length();
  for (char const* next = path.data(); next < end;) {
    char const* const stop = std::find(next, end, '/');
    auto const length = static_cast<unsigned int>(stop - next);
    if (length == 2 && std::memcmp(next, "..", 2) == 0) {
      climb(folded, absolute);
    } else if (length > 1 || (length == 1 && *next != '.')) {
      if (!folded.isEmpty()) folded.endIn('/');
      folded.append(next, length);
    }
    next = stop + 1;
  }
  if (folded.isEmpty()) folded.append(".", 1);
  if (path.data()[path.length() - 1] == '/') folded.endIn('/');
  return folded;
}

}  // namespace

FileName::FileName(EncodedString const& text) : EncodedString(text) { FileName::validate(); }

FileName::FileName(EncodedString&& text) noexcept : EncodedString(std::move(text)) {
  FileName::validate();
}

FileName::FileName(CharString const& text) : EncodedString(text) { FileName::validate(); }

FileName::~FileName() = default;

void FileName::validate() {
  auto const* const slash = static_cast<char const*>(::memrchr(data(), '/', length()));
  directoryLength_ = slash == nullptr ? 0 : static_cast<unsigned int>(slash + 1 - data());
  unsigned int const nameLength = length() - directoryLength_;
  unsigned int const opening = openingOfLast(data() + directoryLength_, nameLength);
  memberLength_ = opening == 0 ? 0 : nameLength - opening - 2;
}

// Cut to the text there is: it may have become shorter since it was parsed.
EncodedString FileName::part(unsigned int start, unsigned int partLength) const {
  unsigned int const from = std::min(start, length());
  return EncodedString(data() + from, std::min(partLength, length() - from), encoding());
}

EncodedString FileName::directory() const { return part(0, directoryLength_); }

EncodedString FileName::short_name() const { return part(directoryLength_, length()); }

EncodedString FileName::base() const {
  EncodedString name = short_name();
  if (memberLength_ != 0 && name.length() > memberLength_ + 2) {
    name.cut(name.length() - memberLength_ - 2);
  }
  return name;
}

EncodedString FileName::member() const {
  if (memberLength_ == 0) return EncodedString("", encoding());
  return part(length() - std::min(memberLength_ + 1, length()), memberLength_);
}

void FileName::change_member(EncodedString const& member) {
  EncodedString text = directory() + base();
  if (!member.isEmpty()) {
    text.append("(", 1);
    text += member;
    text.append(")", 1);
  }
  *this = text;
}

void FileName::rationalizePath(EncodedString const& directory) {
  if (isEmpty()) return;
  if (data()[0] == '/' || directory.isEmpty()) {
    *this = fold(*this);
    return;
  }
  EncodedString path = directory;
  path.append("/", 1);
  path += *this;
  *this = fold(path);
}

FileName FileName::findFile(FileName const& name, EncodedString const& path, bool executableOnly) {
  if (name.data()[0] == '/' || path.isEmpty()) {
    return isUsable(name.data(), executableOnly) ? name : FileName();
  }
  char const* const end = path.data() + path.length();
  for (char const* next = path.data(); next < end;) {
    char const* const stop = std::find(next, end, kPathSeparator);
    EncodedString candidate(next, static_cast<unsigned int>(stop - next), path.encoding());
    if (candidate.isEmpty()) candidate.append(".", 1);
    candidate.endIn('/');
    candidate += name;
    if (isUsable(candidate.data(), executableOnly)) return candidate;
    next = stop + 1;
  }
  return FileName();
}
