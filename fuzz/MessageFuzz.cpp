// A message's text and its inserts, one a line, against replacing them in a std::string; and what
// is printed of it, where "%n" and its like are a text as any other.

#include <cstdio>
#include <sstream>
#include <utility>

#include "cul/messages/CUL_Message.h"
#include "fuzz/Harness.h"

namespace {

struct OneText : XPG4MsgServer {
  OneText() : XPG4MsgServer("", "/no/where") {}
  EncodedString message(int, int) const override { return text(answer); }
  std::string answer;
};

// In the place of the local catalog.
OneText* local() {
  XPG4MsgServer*& catalog = CUL_Message::LocalMessageServer::instance()->server;
  auto* const text = new OneText;
  delete std::exchange(catalog, text);
  return text;
}

constexpr std::size_t kLongest = 100'000;  // each insert can bring more marks for the next one

void replace(std::string& bytes, std::string const& from, std::string const& to) {
  std::size_t at = 0;
  while (bytes.size() < kLongest && (at = bytes.find(from, at)) != std::string::npos) {
    bytes.replace(at, from.size(), to);
    at += to.size();
  }
}

void checkPrinting(CUL_Message const& message, std::string const& expected) {
  static char* written;
  static std::size_t size;
  static bool const isSet = (stdout = ::open_memstream(&written, &size)) != nullptr;
  std::rewind(stdout);
  message.printLocal(6);
  require(isSet && std::fflush(stdout) == 0);
  require(std::string(written, size) == std::string("\n") + expected.c_str() + "\n\n");
}

}  // namespace

void check(std::string const& bytes) {
  static OneText* const server = local();
  std::istringstream lines(bytes);
  lines.exceptions(std::ios::badbit);  // std::bad_alloc is no end of the bytes
  std::getline(lines, server->answer);
  std::string expected = server->answer;
  AutoList<EncodedString const*> inserts;
  inserts.reserve(static_cast<unsigned int>(bytes.size()));
  for (std::string insert; std::getline(lines, insert);) {
    inserts.append(new EncodedString(text(insert)));
    replace(expected, "%" + std::to_string(inserts.count()), insert);
  }
  if (expected.size() >= kLongest) return;
  CUL_Message const message(MsgID{1, 1}, inserts);
  require(bytesOf(message.getMessage(server)) == expected);
  checkPrinting(message, expected);
  checkPrinting(text(bytes), bytes);
}
