#include <nl_types.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Child.h"
#include "Parts.h"
#include "Text.h"
#include "cul/messages/CUL_Message.h"
#include "cul/messages/CUL_Product.h"

namespace {

constexpr MsgID kFileNotFound{1, 2};  // "File %1 not found in %2", or in another language
constexpr MsgID kMissing{99, 2};

using Inserts = std::vector<EncodedString>;

CUL_Message message(MsgID const& id, Inserts const& inserts) {
  List<EncodedString const*> list;
  for (auto const& insert : inserts) list.append(&insert);
  return CUL_Message(id, list);
}

std::string replaced(std::string text, std::string const& placeholder, std::string const& insert) {
  std::size_t const at = text.find(placeholder);
  return at == std::string::npos ? text : text.replace(at, placeholder.size(), insert);
}

// The same by way of the C library, which finds the catalog by its path.
std::string expected(std::string const& catalog, Inserts const& inserts) {
  nl_catd const opened = ::catopen(catalog.c_str(), 0);
  std::string text = ::catgets(opened, kFileNotFound.second, kFileNotFound.first, "no catalog");
  ::catclose(opened);
  for (std::size_t i = 0; i < inserts.size(); ++i) {
    text = replaced(text, "%" + std::to_string(i + 1), inserts[i].data());
  }
  return text;
}

void showIn(Parts& parts, std::string const& locales, char const* locale, Inserts const& inserts) {
  CUL_Product::instance()->set_locale(systemText(locale));
  std::string const text = message(kFileNotFound, inserts).text().data();
  parts.display.line("%-6s %s", locale, text.c_str());
  parts.checks.expect(text == expected(locales + '/' + locale + "/LC_MESSAGES/dmg", inserts),
                      std::string(locale) + ": " + text);
}

// The front end chooses a language; the local server has that of the process, "C" here, for which
// the last template leads to en_US.
void printLocally(Parts& parts) {
  ChildResult const printed = inChild([](int out) {
    ::dup2(out, STDOUT_FILENO);
    EncodedString const file = systemText("a.c"), path = systemText("/src");
    CUL_Message::printLocal(kFileNotFound, 0, &file, &path, nullptr);
    std::fflush(stdout);
    return 0;
  });
  parts.display.line("local  %s", printed.output.substr(0, printed.output.find('\n')).c_str());
  parts.checks.expect(printed.output == "File a.c not found in /src\n", "printLocal prints a line");
}

}  // namespace

void showMessages(Parts& parts, std::string const& locales) {
  parts.display.heading("Messages, in the language that is set");
  std::string const place = locales + "/%L/LC_MESSAGES/%N:" + locales + "/en_US/LC_MESSAGES/%N";
  ::setenv("NLSPATH", place.c_str(), 1);
  Inserts const inserts{systemText("a.c"), systemText("/src")};
  auto const before = message(kFileNotFound, inserts);
  std::string const kept = before.text().data();
  for (char const* locale : {"en_US", "de_DE", "fr_FR"}) showIn(parts, locales, locale, inserts);
  printLocally(parts);
  parts.display.line("a placeholder without an insert, an insert without a placeholder:");
  showIn(parts, locales, "de_DE", {inserts[0]});
  showIn(parts, locales, "de_DE", {inserts[0], inserts[1], systemText("more")});
  std::string const missing = message(kMissing, {}).text().data();
  parts.display.line("none   %s", missing.c_str());
  parts.checks.confirm(missing == "dmg: no message 99 in set 2" && before.text().data() == kept,
                       "what is missing is told, and a text that was resolved stays");
}
