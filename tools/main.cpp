// cul: explains searches, looks after caches, checks catalogs. See docs/man/cul.1.
//
// It ends with 0; with 1 when it failed or found something wrong; with 2 when the command line
// makes no sense.

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "Commands.h"
#include "Text.h"

namespace {

constexpr Option kJson{"--json", nullptr, "for a program to read"};
constexpr Option kAll{"--all", nullptr, "every file that would do, in the order of the search"};
constexpr Option kExplain{"--explain", nullptr, "each place that is looked at, and what is there"};
constexpr Option kCurrent{"--current", "DIR", "the engine's current directory"};
constexpr Option kDirectory{"--directory", "DIR", "the cache; without it the user's own"};

constexpr Option kJsonAlone[] = {kJson};
constexpr Option kProgram[] = {
    {"--path", "PATH", "in place of the variable PATH"}, kAll, kExplain, kJson};
constexpr Option kModule[] = {{"--path", "PATH", "in place of the variable LD_LIBRARY_PATH"},
                              kCurrent,
                              kAll,
                              kExplain,
                              kJson};
constexpr Option kSource[] = {{"--path", "PATH", "trees that the library's caller names"},
                              kCurrent,
                              {"--configured", "PATH", "trees of the source search-path setting"},
                              kAll,
                              kExplain,
                              kJson};
constexpr Option kLook[] = {kDirectory, kJson};
constexpr Option kList[] = {kDirectory, {"--sort", "KEY", "by name, size or age"}, kJson};
constexpr Option kDoctor[] = {
    kDirectory,
    {"--parameter", "TEXT", "directory[:hours[:flush|noflush]], as engines have it"},
    kJson};
constexpr Option kGet[] = {
    kDirectory, {"--offset", "BYTES", "from there on"}, {"--size", "BYTES", "so much of it"}};
constexpr Option kPut[] = {kDirectory,
                           {"--name", "NAME", "in place of the file's own"},
                           {"--no-digest", nullptr, "under the name alone"},
                           kJson};
constexpr Option kRemove[] = {
    kDirectory,
    {"--copies", nullptr, "all that match ENTRY.*, as the library removes them"},
    kJson};
constexpr Option kEnv[] = {{"--diff", "FILE", "what FILE has else: --diff A B"}, kJson};

constexpr Command kCommands[] = {
    {"find exe", "NAME", findExecutable, kProgram,
     "a program: in the working directory, then along PATH"},
    {"find module", "NAME", findModule, kModule,
     "a load module: along LD_LIBRARY_PATH, then where the engine looks"},
    {"find source", "NAME", findSource, kSource,
     "a source: by its name as it stands, then in trees of directories"},
    {"cache list", "", cacheList, kList, "the copies of a cache, each with its size and age"},
    {"cache stat", "", cacheStat, kLook, "how much there is, and how old it is"},
    {"cache verify", "", cacheVerify, kLook, "holds each copy against the digest in its name"},
    {"cache would-remove", "[HOURS]", cacheWouldRemove, kLook,
     "what a removal by age would take now; HOURS are 48 unless given"},
    {"cache doctor", "", cacheDoctor, kDoctor, "what hurts a cache"},
    {"cache get", "ENTRY", cacheGet, kGet, "writes a copy to standard output; it counts as read"},
    {"cache put", "FILE", cachePut, kPut, "stores a file and prints the path of its copy"},
    {"cache remove", "ENTRY...", cacheRemove, kRemove, "removes copies"},
    {"catalog lint", "CATALOG [TRANSLATION]", catalogLint, kJsonAlone,
     "what is wrong with a message catalog"},
    {"env", "[FILE]", showEnvironment, kEnv, "the variables of this process, or of a file"},
    {"split", "TEXT", splitText, kJsonAlone, "the words of a text, as the library splits it"},
    {"version", "", showVersion, kJsonAlone, "which libraries these are, and which kernel"},
};

using Words = std::vector<std::string>;

bool asksForHelp(std::string const& word) { return word == "--help" || word == "-h"; }

bool isOfGroup(Command const& command, std::string_view group) {
  std::string_view const name = command.name;
  return group.empty() || (name.starts_with(group) && name.substr(group.size()).starts_with(' '));
}

// "find exe NAME [OPTION]..."
std::string usageOf(Command const& command) {
  std::string usage = command.name;
  if (*command.operands != '\0') usage += std::string(" ") + command.operands;
  return usage + " [OPTION]...";
}

void printHelp(Command const& command) {
  std::printf("usage: cul %s\n\n%s.\n\n", usageOf(command).c_str(), command.summary);
  for (auto const& [name, value, help] : command.options) {
    std::string const word = value == nullptr ? name : std::string(name) + ' ' + value;
    std::printf("  %-20s %s\n", word.c_str(), help);
  }
}

void printHelp(std::string const& group) {
  std::puts("usage: cul COMMAND [OPTION]...   (cul COMMAND --help tells more)\n");
  for (auto const& command : kCommands) {
    if (isOfGroup(command, group)) std::printf("  %-19s %s\n", command.name, command.summary);
  }
}

// The command that the first words name, which are then taken away; null when they name none.
Command const* takeCommand(Words& words) {
  for (auto const& command : kCommands) {
    std::string_view const name = command.name;
    bool const hasTwo = name.find(' ') != std::string_view::npos;
    if (words.size() < (hasTwo ? 2 : 1)) continue;
    if (name != (hasTwo ? words[0] + ' ' + words[1] : words[0])) continue;
    words.erase(words.begin(), words.begin() + (hasTwo ? 2 : 1));
    return &command;
  }
  return nullptr;
}

[[noreturn]] void refuse(std::string const& group) {
  std::string members;
  for (auto const& command : kCommands) {
    std::string_view const name = command.name;
    if (!group.empty() && isOfGroup(command, group)) {
      members += (members.empty() ? "" : ", ") + std::string(name.substr(group.size() + 1));
    }
  }
  if (!members.empty()) throw WrongUsage(group + " what? " + members);
  throw WrongUsage(group.empty() ? "which command?" : "there is no command " + group);
}

void flush() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw systemFailure("standard output");
}

bool run(Words words, std::string& running) {
  if (words.empty()) refuse("");
  if (asksForHelp(words[0])) return printHelp(""), true;
  if (words[0] == "--version") words[0] = "version";
  Command const* const command = takeCommand(words);
  auto const operands = std::find(words.begin(), words.end(), "--");
  bool const help = std::any_of(words.begin(), operands, asksForHelp);
  if (command == nullptr) {
    auto const& first = words[0];
    if (!help) refuse(first);
    return printHelp(first), true;
  }
  running += std::string(" ") + command->name;
  if (help) return printHelp(*command), true;
  return command->run(Arguments(*command, words));
}

}  // namespace

int main(int argc, char** argv) {
  std::string running = "cul";
  auto const complain = [&](std::exception const& failure, char const* more) {
    std::fprintf(stderr, "%s: %s%s\n", running.c_str(), printable(failure.what()).c_str(), more);
  };
  try {
    bool const isGood = run({argv + 1, argv + argc}, running);
    flush();
    return isGood ? 0 : 1;
  } catch (WrongUsage const& wrong) {
    complain(wrong, (" (" + running + " --help tells more)").c_str());
    return 2;
  } catch (std::exception const& failure) {
    std::fflush(stdout);
    complain(failure, "");
    return 1;
  }
}
