// Any bytes as a path, words, a name, wide characters and a message: each against another way.

#include <cstring>
#include <deque>
#include <sstream>
#include <utility>

#include "cul/messages/CUL_Message.h"
#include "cul/platform/CUL_Api.h"
#include "cul/search/CUL_File_System.h"
#include "tests/models/Model.h"

namespace {

// Not std::vector: libFuzzer brings members of that which leak when std::bad_alloc passes.
using Strings = std::deque<std::string>;

template <class Text>
Strings stringsOf(List<Text*> const& texts) {
  Strings strings;
  for (unsigned int i = 0; i < texts.count(); ++i) strings.push_back(bytesOf(*texts[i]));
  return strings;
}

Strings partsOf(std::string const& bytes, char separator) {
  Strings parts;
  std::istringstream stream(bytes);
  stream.exceptions(std::ios::badbit);  // std::bad_alloc is no end of the bytes
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

void checkPath(std::string const& bytes) {
  AutoList<FileName*> const names(CUL_File_System::instance()->parseSearchPath(text(bytes)));
  require(stringsOf(names) == partsOf(bytes, ':'));
}

void checkWords(std::string const& bytes) {
  AutoList<EncodedString*> words;
  CUL_Api::split(text(bytes), words);
  Strings expected(1);
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
  CUL_Api::split(EncodedString(), words);  // adds to what there is
  require(stringsOf(words) == expected);
}

// As std::filesystem does it, which leaves "//" as it is and crashes when memory runs out.
std::string fold(std::string const& path) {
  auto const failing = std::exchange(failingAllocation, 0);
  std::string const whole = (path.starts_with('/') ? "/x/.." : "") + path + "/.";
  std::string folded = std::filesystem::path(whole).lexically_normal();
  if (folded.size() > 1 && folded.ends_with('/')) folded.pop_back();
  if (folded != "/" && path.ends_with('/')) folded += '/';
  failingAllocation = failing;
  return folded;
}

void checkName(std::string const& bytes) {
  FileName name = fileName(bytes);
  std::string const directory = bytes.substr(0, bytes.rfind('/') + 1);
  require(bytesOf(name.directory()) == directory);
  require(bytesOf(name.short_name()) == bytes.substr(directory.size()));
  std::string const member = bytesOf(name.member());
  require(bytes == directory + bytesOf(name.base()) + (member.empty() ? "" : "(" + member + ")"));
  name.change_member(name.member());
  require(bytesOf(name) == bytes);
  for (std::string const place : {"", "/d", "../e/"}) {
    name.rationalizePath(text(place));
    bool const isWhole = place.empty() || bytes.starts_with('/');
    require(bytesOf(name) == (bytes.empty() ? "" : fold(isWhole ? bytes : place + "/" + bytes)));
    name = text(bytes);
  }
}

// They survive being made wide and narrow again; so do wide characters that have been narrow.
void checkWide(std::string const& bytes) {
  CharString wide, any, again;
  wide.loadFrom(bytes.data(), static_cast<unsigned int>(bytes.size()), EncodedString::kSystemText);
  require(bytesOf(wide.encoded()) == bytes);
  any.makeBuffer(static_cast<unsigned int>(bytes.size() / sizeof(wchar_t)));
  std::memcpy(any.data(), bytes.data(), any.length() * sizeof(wchar_t));
  EncodedString const narrow = any.encoded();
  again.loadFrom(narrow.data(), narrow.length(), EncodedString::kLibraryText);
  require(again.encoded() == narrow);
}

struct OneText : XPG4MsgServer {
  OneText() : XPG4MsgServer("", "/no/where") {}
  EncodedString message(int, int) const override { return text(answer); }
  std::string answer;
};

// The first line is the text, and each other one an insert.
void checkMessage(std::string const& bytes) {
  static OneText server;
  Strings lines = partsOf(bytes + "\n", '\n');
  server.answer = lines.front();
  std::string expected = lines.front();
  AutoList<EncodedString const*> inserts;
  inserts.reserve(static_cast<unsigned int>(lines.size()));
  while (lines.pop_front(), !lines.empty()) {
    inserts.append(new EncodedString(text(lines.front())));
    std::string const mark = "%" + std::to_string(inserts.count());
    for (std::size_t at = 0; (at = expected.find(mark, at)) != std::string::npos;) {
      expected.replace(at, mark.size(), lines.front());
      at += lines.front().size();
      if (expected.size() > 100'000) return;  // each insert can bring more marks for the next one
    }
  }
  require(bytesOf(CUL_Message(MsgID{1, 1}, inserts).getMessage(&server)) == expected);
}

}  // namespace

void check(std::string const& bytes) {
  checkPath(bytes);
  checkWords(bytes);
  checkName(bytes);
  checkWide(bytes);
  checkMessage(bytes);
}
