#include <nl_types.h>

#include "cul/messages/CUL_Message.h"
#include "cul/messages/CUL_Product.h"
#include "cul/messages/ProductData.h"
#include "tests/messages/TestCatalog.h"
#include "tests/models/Model.h"
#include "tests/support/TraceCapture.h"

namespace {

struct TestMessage : CUL_Message {
  using CUL_Message::CUL_Message;
  using CUL_Message::inserts;
  using CUL_Message::suffix;
};

// Where catalogs lie, each by the name of its locale.
struct Messages : testing::Test {
  Messages() { ::setenv("NLSPATH", scratch.path("%L").c_str(), 1); }
  Scratch scratch;
  EncodedString a = text("a"), b = text("b");
};

TEST_F(Messages, ACatalogIsReadAsTheCLibraryReadsItAndMayBeDamaged) {
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
      std::string const found = bytesOf(server.message(set, number));
      bool const isMissing = found.starts_with(path + ": no message ");
      ASSERT_EQ(found, ::catgets(peer, set, number, isMissing ? found.c_str() : "none"));
    }
  }
  ::catclose(peer);
  // A damaged one gives texts that lie in it, or none.
  compile(scratch, "dmg", "$set 1\n1 one\n2 two\n3 three\n$set 2\n1 four");
  std::string const good = scratch.read("dmg");
  for (std::size_t at = 0; at < good.size(); ++at) {
    EXPECT_NO_THROW(check(good.substr(0, at))) << at;
    for (char byte : {'\0', '\x7F', '\xFF'}) {
      EXPECT_NO_THROW(check(std::string(good).replace(at, 1, 1, byte))) << at;
    }
  }
  // As many planes and slots as vanish when 64 bits count them.
  EXPECT_NO_THROW(check(std::string(good).replace(4, 8, "\0\0\0\x80\0\0\0\x80", 8)));
}

TEST_F(Messages, WhereACatalogIsLookedFor) {
  std::filesystem::current_path(scratch.path());
  std::filesystem::create_directory("de_DE.UTF-8@euro");
  constexpr char const* kRows[][3] = {
      // NLSPATH, the locale, which catalog is found
      {"%L/%N", "de_DE.UTF-8@euro", "de_DE.UTF-8@euro/d"},
      {"%l-%t-%c", "de_DE.UTF-8@euro", "de-DE-UTF-8"},
      {"%N%x:%N%:%%%N", "x", "%d"},
      {"none::de", "x", "d"},
      {"%L", nullptr, "C"},
  };
  for (auto const& row : kRows) compile(scratch, row[2], "$set 1\n1 " + std::string(row[2]));
  for (auto const& [nlspath, locale, found] : kRows) {
    ::setenv("NLSPATH", nlspath, 1);
    EXPECT_EQ(bytesOf(XPG4MsgServer(locale, "d").message(1, 1)), found) << nlspath;
  }
  EXPECT_FALSE(XPG4MsgServer("a/b", "d").isOpen());
  ::unsetenv("NLSPATH");
  EXPECT_FALSE(XPG4MsgServer("xx.y", "no catalog").isOpen());
  ASSERT_EQ(::truncate(scratch.path("d").c_str(), 1L << 32), 0);
  EXPECT_FALSE(XPG4MsgServer(nullptr, scratch.path("d").c_str()).isOpen());
}

TEST_F(Messages, WhichOperationsForgetTheText) {
  compile(scratch, "en_US", "$set 1\n1 <%1%9>");
  TestMessage message(MsgID{1, 1}), other(MsgID{1, 1});
  MsgID const none{1, 0}, missing{7, 8192};
  std::pair<std::function<void()>, char const*> const rows[] = {
      {[&] { message.set_inserts(&a, &a, &a, &a, &a, &a, &a, &a, &b, &b, nullptr); }, "9<ab>"},
      {[&] { message.set_inserts(&b, nullptr); }, "1<ab>"},
      {[&] { message.suffix = text("!"), message.set_inserts(message.inserts); }, "1<b%9>!"},
      {[&] { message.set_text(text("%1")); }, "1%1"},
      {[&] { message.set_inserts(TestMessage(message).inserts); }, "1"},
      {[&] { other.set_inserts(&a, nullptr), message = other; }, "1<a%9>"},
      {[&] { message = static_cast<TestMessage const&>(message), other.set_text(b); }, "1<a%9>"},
      {[&] { message.deleteInserts(); }, "0<a%9>"},
      {[&] { message.set_id(none); }, "0"},
      {[&] { message.set_id(missing); }, "0dmg: no message 7 in set -8192"},
  };
  for (auto const& [change, state] : rows) {
    change();
    EXPECT_EQ(std::to_string(message.inserts.count()) + bytesOf(message.text()), state);
  }
}

TEST_F(Messages, TheFrontEndsCatalogIsOpenedWhenItsLocaleIsSet) {
  compile(scratch, "fr_FR", "$set 1\n1 french");
  std::string seen;
  for (int step = 0; step < 6; ++step) {
    compile(scratch, "en_US", "$set 1\n1 " + std::to_string(step));
    if (step == 2) CUL_Message::set_fe_locale(text("en_US"));
    if (step == 3) CUL_Product::instance();
    if (step > 3) CUL_Product::instance()->set_locale(text("en_US"));
    seen += bytesOf(CUL_Message(MsgID{1, 1}).text());
  }
  CUL_Product::instance()->set_locale(text("fr_FR"));
  // As when memory ran out over it.
  delete std::exchange(CUL_Message::MessageServer::instance()->server, nullptr);
  EXPECT_EQ(seen + bytesOf(CUL_Message(MsgID{1, 1}).text()), "002344french");
}

TEST(Product, AModulesNameReplacesAllOfTheNameBefore) {
  FileName name(text("/usr/lib/libm.a(sin.o)"));
  CUL_Product::instance()->expression_evaluator_name(name, VKT_Language(7), 2);
  EXPECT_EQ(bytesOf(name.directory()) + bytesOf(name.base()) + bytesOf(name.member()), "kcv3asmr");
}

TEST(Product, ItsDataTellTheNameTheVersionAndTheTime) {
  using testing::MatchesRegex;
  std::string bytes(reinterpret_cast<char const*>(&__productData), 1024);
  std::replace(bytes.begin(), bytes.end(), '\0', '|');
  EXPECT_THAT(bytes.substr(0, 512), MatchesRegex("Copyright [^|]*\n[^|]*\n[|]+"));
  EXPECT_THAT(bytes.substr(512, 256), MatchesRegex("cul: [^|\n]*[|]+"));
  EXPECT_THAT(bytes.substr(768, 128), MatchesRegex("[0-9.]+[|]+"));
  EXPECT_THAT(bytes.substr(896), MatchesRegex("[A-Z][a-z]{2} [0-3][0-9] 20[0-9]{2} at [0-2][0-9]"
                                              ":[0-5][0-9]:[0-5][0-9][|]+"));
}

TEST_F(Messages, Printing) {
  compile(scratch, "C", "$set 1\n1 local %1");
  CUL_Message(a).messagePopup();  // is not traced
  TraceCapture capture({TraceFlag::error});
  for (int flags = 0; flags < 16; ++flags) {
    std::string const before(flags & 2 ? "\n" : ""), after(flags & 4 ? "\n" : "");
    std::string all = before + "%n\n" + after;
    all += before + "\n" + after + before + "local a\n" + after;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    CUL_Message(text("%n")).printLocal(flags);
    CUL_Message::printLocal(MsgID{0, 1}, flags, nullptr);
    CUL_Message::printLocal(MsgID{1, 1}, flags, &a, nullptr);
    CUL_Message(text("%n")).messagePopup();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), flags & 1 ? "" : all);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), (flags & 1 ? all : "") + "\n\n%n\n\n");
    EXPECT_THAT(capture.lines(), testing::ElementsAre("messagePopup ERROR %n"));
  }
}

}  // namespace
