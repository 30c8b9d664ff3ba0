#include "Arguments.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace {

Option const& optionOf(Command const& command, std::string const& name) {
  for (auto const& option : command.options) {
    if (name == option.name) return option;
  }
  throw WrongUsage("there is no option " + name);
}

}  // namespace

Failure systemFailure(std::string const& what) {
  int const error = errno;
  return Failure(what + ": " + std::strerror(error));
}

Arguments::Arguments(Command const& command, std::vector<std::string> const& words) {
  bool optionsEnded = false;
  for (std::size_t at = 0; at < words.size(); ++at) {
    bool const isOption = !optionsEnded && words[at].size() > 1 && words[at][0] == '-';
    if (!isOption) {
      operands_.push_back(words[at]);
    } else if (words[at] == "--") {
      optionsEnded = true;
    } else {
      at = takeOption(command, words, at);
    }
  }
  checkOperands(command.operands);
}

void Arguments::checkOperands(std::string_view wanted) const {
  bool const anyNumber = wanted.ends_with("...");
  auto const blanks = std::count(wanted.begin(), wanted.end(), ' ');
  auto const most = static_cast<std::size_t>(wanted.empty() ? 0 : blanks + 1);
  auto const optional = static_cast<std::size_t>(std::count(wanted.begin(), wanted.end(), '['));
  if (operands_.size() < most - optional) throw WrongUsage("wants " + std::string(wanted));
  if (operands_.size() > most && !anyNumber) {
    throw WrongUsage('"' + operands_.back() + "\" is too much");
  }
}

// Returns the place of the option's last word.
std::size_t Arguments::takeOption(Command const& command, std::vector<std::string> const& words,
                                  std::size_t at) {
  std::string const& word = words[at];
  std::size_t const equals = word.find('=');
  Option const& option = optionOf(command, word.substr(0, equals));
  std::string& value = values_[option.name];
  if (option.value == nullptr) {
    if (equals != std::string::npos) throw WrongUsage(std::string(option.name) + " has no value");
  } else if (equals != std::string::npos) {
    value = word.substr(equals + 1);
  } else if (++at < words.size()) {
    value = words[at];
  } else {
    throw WrongUsage(std::string(option.name) + " wants " + option.value);
  }
  return at;
}

std::string Arguments::value(char const* option) const {
  auto const found = values_.find(option);
  return found == values_.end() ? "" : found->second;
}

std::uint32_t Arguments::number(char const* option, std::uint32_t otherwise) const {
  return has(option) ? numberFrom(value(option), option) : otherwise;
}

std::uint32_t numberFrom(std::string const& text, std::string const& what) {
  std::uint32_t number = 0;
  char const* const end = text.data() + text.size();
  auto const [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) {
    throw WrongUsage(what + " wants a number up to 4294967295, not \"" + text + "\"");
  }
  return number;
}
