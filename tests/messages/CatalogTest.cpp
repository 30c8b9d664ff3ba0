#include <gtest/gtest.h>
#include <nl_types.h>

#include "quonutil/catalog/XPG4MsgServer.h"
#include "tests/messages/TestCatalog.h"

namespace {

std::string answer(XPG4MsgServer const& server, int set, int number) {
  return bytesOf(server.message(set, number));
}
std::string missing(std::string const& catalog, int set, int number) {
  return catalog + ": no message " + std::to_string(number) + " in set " + std::to_string(set);
}

TEST(Catalog, IsReadAsTheCLibraryReadsIt) {
  Scratch const scratch;
  std::string lines;
  for (int set : {1, 2, 3, 255, 8191, 46341, 65535}) {
    lines += "$set " + std::to_string(set) + "\n32767 last\n65535 beyond\n";
    for (int number = 1; number < 90; number += set % 5 + 1) {
      lines += std::to_string(number) + " \xC3\xA9: " + std::to_string(set * number) + "\n";
    }
  }
  std::string const path = compile(scratch, "dmg", lines);
  XPG4MsgServer const server(nullptr, path.c_str());
  nl_catd const peer = ::catopen(path.c_str(), 0);
  for (int set : {-8192, -1, 0, 1, 2, 3, 4, 255, 8191, 46340, 46341, 65535, 0x7FFFFFFF}) {
    for (int number = -2; number < 65540; number += number < 100 || number > 65530 ? 1 : 17) {
      char const* const text = ::catgets(peer, set, number, nullptr);
      ASSERT_EQ(answer(server, set, number), text ? text : missing(path, set, number));
    }
  }
  ::catclose(peer);
  EXPECT_EQ(answer(server, 8191, 3), "\xC3\xA9: 24573");
}

TEST(Catalog, DamagedItGivesTextsThatLieInItOrNone) {
  Scratch const scratch;
  std::string const path = compile(scratch, "dmg", "$set 1\n1 one\n2 two\n3 three\n$set 2\n1 four");
  std::string const good = scratch.read("dmg");
  auto const isOpen = [&](std::string const& bytes) {
    scratch.write("dmg", bytes);
    XPG4MsgServer const server(nullptr, path.c_str());
    for (int at = 0; at < 0x40; ++at) {
      std::string const text = answer(server, at >> 4, at & 0xF);
      bool const isTheirs = server.isOpen() && bytes.find(text + '\0') < bytes.size();
      EXPECT_TRUE(isTheirs || text == missing(path, at >> 4, at & 0xF)) << text;
    }
    return server.isOpen();
  };
  EXPECT_TRUE(isOpen(good));
  for (std::size_t at = 0; at < good.size(); ++at) {
    isOpen(good.substr(0, at));
    for (char byte : {'\0', '\x7F', '\xFF'}) isOpen(std::string(good).replace(at, 1, 1, byte));
  }
  // As many planes and slots as vanish when 64 bits count them.
  EXPECT_FALSE(isOpen(std::string(good).replace(4, 8, "\0\0\0\x80\0\0\0\x80", 8)));
}

TEST(Catalog, WhereItIsLookedFor) {
  Scratch const scratch;
  std::filesystem::current_path(scratch.path());
  std::filesystem::create_directories("de_DE.UTF-8@euro/d");
  for (char const* place : {"d", "%d", "de", "de-DE-UTF-8", "de_DE.UTF-8@euro/d/d", "C"}) {
    compile(scratch, place, "$set 1\n1 " + std::string(place));
  }
  constexpr char const* kRows[][3] = {
      // NLSPATH, the locale, which catalog is found
      {"%L/d/%N", "de_DE.UTF-8@euro", "de_DE.UTF-8@euro/d/d"},
      {"%l-%t-%c", "de_DE.UTF-8@euro", "de-DE-UTF-8"},
      {"%l%t%c", "de@euro.x_y", "de"},
      {"%l", "de.x@y", "de"},
      {"%N%x:%N%:%%%N", "x", "%d"},
      {"none::de", "x", "d"},
      {"none:", "x", ""},
      {"source:.:de", "x", "de"},
      {"%L", nullptr, "C"},
      {"%N", "a/b", ""},
  };
  for (auto const& [nlspath, locale, found] : kRows) {
    ::setenv("NLSPATH", nlspath, 1);
    EXPECT_EQ(answer({locale, "d"}, 1, 1), *found ? found : missing("d", 1, 1)) << nlspath;
  }
}

}  // namespace
