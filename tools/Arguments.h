#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class Arguments;

/// What was asked for could not be done; the text says why, in one line.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The command line makes no sense.
struct WrongUsage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// "what: " and the system's words for errno, which is taken as it stands.
Failure systemFailure(std::string const& what);

struct Option {
  char const* name;   ///< with its "--"
  char const* value;  ///< what the help calls its value; null when it has none
  char const* help;
};

struct Command {
  char const* name;               ///< its one or two words
  char const* operands;           ///< as the help has them: "A", "A [B]", "[A]", "A..." or ""
  bool (*run)(Arguments const&);  ///< false when it found something wrong
  std::span<Option const> options;
  char const* summary;
};

/// What stands on the command line behind a command: options, as "--name value" or "--name=value",
/// among the operands; "--" ends the options.
class Arguments {
 public:
  /// Throws WrongUsage for an option that the command lacks and for too few or many operands.
  Arguments(Command const& command, std::vector<std::string> const& words);

  bool has(char const* option) const { return values_.contains(option); }
  std::string value(char const* option) const;
  /// Throws WrongUsage for what is no number of 32 bits.
  std::uint32_t number(char const* option, std::uint32_t otherwise) const;

  std::vector<std::string> const& operands() const { return operands_; }

 private:
  void checkOperands(std::string_view wanted) const;
  std::size_t takeOption(Command const& command, std::vector<std::string> const& words,
                         std::size_t at);

  std::map<std::string, std::string> values_;
  std::vector<std::string> operands_;
};

/// A decimal number of 32 bits; throws WrongUsage, which calls it `what`.
std::uint32_t numberFrom(std::string const& text, std::string const& what);
