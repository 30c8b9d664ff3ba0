#include <gmock/gmock.h>
#include <spawn.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "cul/environment/UNIX_Environment.h"
#include "quonutil/collections/AutoList.h"
#include "tests/support/Scratch.h"

namespace {

// Notes which operations run, each with the number of variables there are by then.
struct TestEnvironment final : UNIX_Environment {
  using UNIX_Environment::add;
  using UNIX_Environment::envpCache;
  using UNIX_Environment::operator=;
  using UNIX_Environment::vars;
  CUL_EnvironmentVariable* add(EncodedString const& name, EncodedString const& value) override {
    log += "add" + std::to_string(numvars()) + ' ';
    return UNIX_Environment::add(name, value);
  }
  void clear_cache() override {
    log += "drop" + std::to_string(numvars()) + ' ';
    UNIX_Environment::clear_cache();
  }
  std::string log;
};

// The strings as /proc/self/environ has them, each ended by `end`.
std::string joined(char const* const* strings, char end = '\0') {
  std::string all;
  for (; *strings != nullptr; ++strings) all.append(*strings).append(1, end);
  return all;
}

TEST(Environment, EveryChangeDropsTheArrayFirstAndTouchesTheLastOfEqualNames) {
  TestEnvironment environment, other;
  CUL_Environment& set = environment;
  CUL_EnvironmentVariable* added = nullptr;
  struct Row {
    std::function<void()> change;
    char const *log, *strings;
  } const rows[] = {
      {[&] { set.set(text("A"), text("1")); }, "add0 drop0 ", "A=1;"},
      {[&] { added = set.add(text("A"), text("2")); }, "add1 drop1 ", "A=1;A=2;"},
      {[&] { set.add(*set.set(text("a"), text(""))); }, "add2 drop2 drop3 ", "A=1;A=2;a=;a=;"},
      {[&] { set.set(text("A"), text("3")); }, "drop4 ", "A=1;A=3;a=;a=;"},
      {[&] { set = set.remove(text("B")); }, "drop4 ", "A=1;A=3;a=;a=;"},
      {[&] { set.remove(*added); }, "drop4 ", "A=1;a=;a=;"},  // its own name goes with it
      {[&] { set.set(EnvironmentVariable(text("a"), text("\xFF"))); }, "drop3 ", "A=1;a=;a=\xFF;"},
      {[&] { other = environment; }, "", "A=1;a=;a=\xFF;"},
      {[&] { environment.clear(); }, "drop3 ", ""},
      {[&] { set = other; }, "drop0 ", "A=1;a=;a=\xFF;"},
      {[&] { set.add(text(std::string("c\0d", 3)), text("e")); }, "add3 drop3 ",
       "A=1;a=;a=\xFF;c=e;"},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(environment.envp(), environment.envp());
    environment.log.clear();
    row.change();
    EXPECT_EQ(environment.log, row.log);
    EXPECT_EQ(environment.envpCache == nullptr, *row.log != '\0') << row.log;
    EXPECT_EQ(joined(environment.envp(), ';'), row.strings);
  }
  AutoList<CUL_EnvironmentVariable*> list;
  UNIX_Environment const copy(set);
  std::unique_ptr<CUL_Environment> const clone(copy.clone());
  EXPECT_EQ(copy.variables(clone->variables(list)).count(), 8U);
  EXPECT_EQ(bytesOf(list[6]->name()) + bytesOf(list[2]->value()), "a\xFF");
  EXPECT_EQ(bytesOf(copy.value(text("a"))), "\xFF");
  EXPECT_EQ(&copy.value(text("B")), &other.value(text("C")));
  EXPECT_EQ(copy.find(text("B")), 4294967295U);
  UNIX_Environment twin(copy);
  EXPECT_EQ(twin.numvars(), 4U);
  twin = other;
  twin = static_cast<UNIX_Environment const&>(twin);  // keeps what it holds
  EXPECT_EQ(joined(twin.envp(), ';'), joined(other.envp(), ';'));
  EnvironmentVariable variable(text("a"), text("1")), second(text("b"), text("2"));
  variable = second;
  static_cast<CUL_EnvironmentVariable&>(second) = *list[2];
  EXPECT_EQ(bytesOf(variable.name()) + bytesOf(variable.value()), "b2");
  EXPECT_EQ(bytesOf(second.name()) + bytesOf(second.value()), "a\xFF");
}

TEST(Environment, TheArrayShowsEveryChangeHoweverManyThereWere) {
  TestEnvironment environment;
  std::vector<std::pair<std::string, std::string>> expected;
  std::mt19937 random(11);
  for (int step = 0; step < 1000; ++step) {
    std::string name(random() % 7, 'A');  // many end alike
    for (char& letter : name) letter = "AB"[random() % 2];
    std::string const value = std::to_string(step) + std::string(random() % 40, 'v');
    auto const found = std::find_if(expected.rbegin(), expected.rend(),
                                    [&name](auto const& one) { return one.first == name; });
    unsigned int const place = environment.find(text(name));
    EXPECT_EQ(place, static_cast<unsigned int>(expected.rend() - found - 1));
    char** const array = environment.envp();
    std::string const shown = joined(array);
    if (found == expected.rend() || random() % 4 == 0) {
      environment.add(text(name), text(value));
      expected.emplace_back(name, value);
    } else if (random() % 3 == 0) {
      environment.remove(text(name));
      expected.erase(std::next(found).base());
    } else {
      environment.vars[place]->changeValue(text(value));
      EXPECT_EQ(environment.envp(), array);
      EXPECT_EQ(joined(array), shown);  // what it was before
      environment.clear_cache();
      found->second = value;
    }
    std::string strings;
    for (auto const& one : expected) strings.append(one.first + '=' + one.second).append(1, '\0');
    ASSERT_EQ(joined(environment.envp()), strings);
  }
}

// What a child finds in its environment when it is started with this array.
std::string seenByChild(char** array) {
  Scratch const scratch;
  std::string const path = scratch.write("seen", "");
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, 1, path.c_str(), O_WRONLY, 0);
  std::string program = "/bin/cat", argument = "/proc/self/environ";
  char* const arguments[] = {program.data(), argument.data(), nullptr};
  pid_t child = 0;
  EXPECT_EQ(::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, array), 0);
  ::posix_spawn_file_actions_destroy(&actions);
  ::waitpid(child, nullptr, 0);
  return scratch.read("seen");
}

TEST(Environment, TheProcesssOwnGoesThroughByteForByte) {
  std::ifstream file("/proc/self/environ", std::ios::binary);
  std::string const given{std::istreambuf_iterator<char>(file), {}};
  TestEnvironment environment;
  // A tool that watches the process may have put something behind what it was started with.
  EXPECT_THAT(joined(environment.localEnvironment().envp()), testing::StartsWith(given));

  std::vector<std::string> entries = {
      "A=1", "none", "B==x=", "C=", "=nameless", "=", "A=22", "", "\xFF\x80=\xC3\xFE\x01\n"};
  while (entries.size() < 1000) entries.emplace_back("V=" + std::string(entries.size(), '='));
  std::vector<char*> strings;
  for (auto& entry : entries) strings.push_back(entry.data());
  strings.push_back(nullptr);
  char** const before = std::exchange(environ, strings.data());
  environment.localEnvironment();
  environ = before;
  entries.erase(entries.begin() + 7);
  entries.erase(entries.begin() + 1);
  std::string expected;
  for (auto const& entry : entries) expected.append(entry).append(1, '\0');
  EXPECT_TRUE(environment.log.ends_with("add996 drop996 add997 drop997 "));
  EXPECT_EQ(joined(environment.envp()), expected);
  EXPECT_EQ(seenByChild(environment.envp()), expected);
}

}  // namespace
