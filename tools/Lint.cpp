#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>

#include "CatalogFile.h"
#include "Commands.h"
#include "Report.h"
#include "Text.h"

namespace {

using Id = std::pair<int, int>;

// What is said of one catalog.
class Linter {
 public:
  Linter(Findings& findings, std::string const& catalog) : findings_(findings), catalog_(catalog) {}

  void wrong(Id id, std::string const& text) {
    std::string const message = std::to_string(id.first) + ':' + std::to_string(id.second);
    findings_.wrong({catalog_, message, text});
  }
  void note(std::string const& text) { findings_.note({catalog_, Cell::none(), text}); }

 private:
  Findings& findings_;
  std::string const& catalog_;
};

// The beginning of a text, in whole characters.
std::string excerpt(std::string const& text) {
  constexpr std::size_t kLength = 50;
  if (text.size() <= kLength) return text;
  std::size_t end = kLength;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "...";
}

// The numbers behind each "%", as far as they have digits.
std::set<unsigned long> placeholdersIn(std::string const& text) {
  std::set<unsigned long> numbers;
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1)) {
    char const first = at + 1 < text.size() ? text[at + 1] : '\0';
    if (first >= '1' && first <= '9') numbers.insert(std::strtoul(&text[at + 1], nullptr, 10));
  }
  return numbers;
}

std::string shown(std::set<unsigned long> const& numbers) {
  std::string text;
  for (auto number : numbers) text += (text.empty() ? "%" : " %") + std::to_string(number);
  return text.empty() ? "none" : text;
}

// A message keeps its set in 14 bits and its number in 16, both with a sign.
void lintIdentifier(Linter& linter, Id id) {
  constexpr int kLastSet = 8191, kLastNumber = 32'767;
  auto const [set, number] = id;
  if (set < 1 || set > kLastSet) linter.wrong(id, "the set is not from 1 to 8191");
  if (number < 1 || number > kLastNumber) {
    linter.wrong(id, "the number is not from 1 to 32767");
  }
}

void lintText(Linter& linter, Id id, std::string const& text) {
  auto const placeholders = placeholdersIn(text);
  if (!placeholders.empty() && *placeholders.rbegin() > 9) {
    std::string const last = std::to_string(*placeholders.rbegin());
    linter.wrong(id, "%" + last.substr(0, 1) + " is put in where %" + last + " stands");
  }
  if (!isUtf8(text)) linter.wrong(id, "is not UTF-8: " + excerpt(text));
}

void lintAlone(Linter& linter, Messages const& messages) {
  for (auto const& [id, text] : messages) {
    lintIdentifier(linter, id);
    lintText(linter, id, text);
  }
}

// Texts with something to translate in them that are the same in both.
void lintLanguage(Linter& linter, std::size_t same, std::size_t all) {
  constexpr std::size_t kEnough = 5;
  if (all < kEnough || same * 2 <= all) return;
  linter.note(std::to_string(same) + " of " + std::to_string(all) +
              " texts are the original's: not translated, or of a wrong locale");
}

bool hasWords(std::string const& text) {
  return std::count_if(text.begin(), text.end(),
                       [](unsigned char each) { return std::isalpha(each) != 0; }) > 3;
}

void lintTranslation(Linter& linter, Messages const& original, Messages const& translation) {
  std::size_t same = 0, all = 0;
  for (auto const& [id, text] : original) {
    auto const found = translation.find(id);
    if (found == translation.end()) {
      linter.wrong(id, "is missing: " + excerpt(text));
      continue;
    }
    auto const wanted = placeholdersIn(text), has = placeholdersIn(found->second);
    if (wanted != has) {
      linter.wrong(id, "has " + shown(has) + ", the original " + shown(wanted));
    }
    all += hasWords(text);
    same += hasWords(text) && text == found->second;
  }
  for (auto const& [id, text] : translation) {
    if (!original.contains(id)) linter.wrong(id, "is not in the original: " + excerpt(text));
  }
  lintLanguage(linter, same, all);
}

}  // namespace

bool catalogLint(Arguments const& arguments) {
  Report report;
  Findings findings(report, {"catalog", "message", "finding"});
  std::vector<Messages> messages;
  for (auto const& catalog : arguments.operands()) {
    messages.push_back(messagesOf(catalog));
    Linter linter(findings, catalog);
    lintAlone(linter, messages.back());
    if (messages.size() == 2) lintTranslation(linter, messages[0], messages[1]);
  }
  report.field("messages", Cell::number(messages[0].size()));
  report.field("wrong", Cell::number(findings.wrongs()));
  report.print(arguments);
  return findings.wrongs() == 0;
}
