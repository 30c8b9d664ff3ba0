#include <gmock/gmock.h>

#include <functional>

#include "cul/messages/CUL_Message.h"
#include "cul/messages/CUL_Product.h"
#include "tests/messages/TestCatalog.h"
#include "tests/support/TraceCapture.h"

namespace {

struct TestMessage : CUL_Message {
  using CUL_Message::CUL_Message;
  using CUL_Message::inserts;
  using CUL_Message::suffix;
};

struct OneText : XPG4MsgServer {
  explicit OneText(std::string const& text) : XPG4MsgServer("", "/no/where"), answer(text) {}
  EncodedString message(int, int) const override { return text(answer); }
  std::string answer;
};

struct MessageTest : testing::Test {
  MessageTest() { ::setenv("NLSPATH", scratch.path("%L").c_str(), 1); }
  void catalog(char const* locale, std::string const& content) {
    compile(scratch, locale, "$set 1\n1 " + content);
  }
  Scratch scratch;
  EncodedString a = text("a"), b = text("b");
};

TEST_F(MessageTest, SubstitutesOneInsertAfterTheOther) {
  EncodedString const mark = text("%"), next = text("2%2%1"), longer = text("longer than fifteen");
  constexpr char const* kRows[][2] = {
      {"%11 %%1 %1", "%1 %% %"},
      {"%1 %2%1", "% 2%2%1%"},
      {"%12", "2%2%1"},  // what one insert brings the next one finds
      {"%3 %4 %", "longer than fifteen %4 %"},
  };
  for (auto const& [given, expected] : kRows) {
    TestMessage message(MsgID{1, 1});
    message.set_inserts(&mark, &next, &longer, nullptr);
    OneText server(given);
    EXPECT_EQ(bytesOf(message.getMessage(&server)), expected);
  }
}

TEST_F(MessageTest, WhichOperationsForgetTheText) {
  catalog("en_US", "<%1%9>");
  TestMessage message(MsgID{1, 1});
  message.set_inserts(&a, &a, &a, &a, &a, &a, &a, &a, &b, &b, nullptr);
  EXPECT_EQ(message.inserts.count(), 9U);
  message.suffix = text("!");
  EXPECT_EQ(bytesOf(message.text()), "<ab>!");
  message.set_inserts(&b, nullptr);
  TestMessage const copy(message);
  message.set_inserts(message.inserts);
  EXPECT_EQ(bytesOf(message.text()) + bytesOf(copy.text()), "<b%9>!<ab>!");
  message.set_text(text("%1"));
  EXPECT_EQ(bytesOf(message.text()) + bytesOf(message.suffix), "%1");
  message.set_inserts(copy.inserts);
  EXPECT_TRUE(message.text().isEmpty());
  List<EncodedString const*> lent;
  lent.append(&b);
  TestMessage other(MsgID{1, 1}, lent);
  EXPECT_EQ(bytesOf(other.text()), "<b%9>");
  other.set_inserts(lent);
  message = static_cast<TestMessage const&>(other);
  other = static_cast<TestMessage const&>(other);  // keeps what it holds
  EXPECT_EQ(bytesOf(message.text()) + bytesOf(other.text()), "<b%9><b%9>");
  EXPECT_EQ(other.inserts.count() + message.inserts.count(), 2U);
  message.set_id(MsgID{7, 8192});
  EXPECT_EQ(bytesOf(message.text()), "dmg: no message 7 in set -8192");
}

TEST_F(MessageTest, ServersAndLocales) {
  catalog("C", "local");
  catalog("fr_FR", "french");
  catalog("en_US", "1st");
  CUL_Message const kept(MsgID{1, 1});
  auto* const local = CUL_Message::LocalMessageServer::instance()->server;
  std::string seen = bytesOf(kept.text());
  std::function<void()> const steps[] = {
      [] {},
      [] { CUL_Message::set_fe_locale(text("en_US")); },
      [] { CUL_Product::instance(); },
      [] { CUL_Product::instance()->set_locale(text("en_US")); },
      [] { CUL_Product::instance()->set_locale(text("en_US")); },
      [] { CUL_Product::instance()->set_locale(text("fr_FR")); },
  };
  for (auto const& step : steps) {
    catalog("en_US", std::to_string(&step - steps));
    step();
    seen += " " + bytesOf(CUL_Message(MsgID{1, 1}).text());
  }
  EXPECT_EQ(seen, "1st 1st 1 2 3 3 french");
  EXPECT_EQ(bytesOf(kept.text()) + bytesOf(kept.getMessage(local)), "1stlocal");
}

TEST_F(MessageTest, Printing) {
  catalog("C", "local %1");
  TraceCapture capture({TraceFlag::error});
  for (int flags = 0; flags < 16; ++flags) {
    std::string const before(flags & 2 ? "\n" : ""), after(flags & 4 ? "\n" : "");
    std::string const all =
        before + "%1\n" + after + before + "\n" + after + before + "local a\n" + after;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    CUL_Message(text("%1")).printLocal(flags);
    CUL_Message::printLocal(MsgID{0, 1}, flags, nullptr);
    CUL_Message::printLocal(MsgID{1, 1}, flags, &a, nullptr);
    CUL_Message(text("%1")).messagePopup();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), flags & 1 ? "" : all);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), (flags & 1 ? all : "") + "\n\n%1\n\n");
    EXPECT_THAT(capture.lines(), testing::ElementsAre("messagePopup ERROR %1"));
  }
}

TEST_F(MessageTest, TheModulesOfTheLanguages) {
  std::string names;
  FileName name = fileName("before");
  for (int language = -1; language <= 17; ++language) {
    for (char kind : {'\2', '2'}) {
      auto const code = static_cast<VKT_Language>(language);
      CUL_Product::instance()->expression_evaluator_name(name, code, kind);
      names += bytesOf(name.base()) + ' ';
    }
  }
  EXPECT_EQ(names,
            "    quonecx1 quonxcx1 quonecx1 quonxcx1 quonepx1 quonxpx1 quonepl1 quonxpl1 "
            "quonerp1 quonxrp1 quonecb1 quonxcb1 kcv3asmr kcv3asmr     quonejv1 quonxjv1 "
            "quoneft1 quonxft1       quonecx1 quonxcx1 quonexX1 quonxxX1   ");
}

}  // namespace
