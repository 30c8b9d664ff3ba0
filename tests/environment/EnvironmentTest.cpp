#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "cul/environment/UNIX_Environment.h"
#include "quonutil/collections/AutoList.h"
#include "tests/support/Scratch.h"

namespace {

struct TestEnvironment final : UNIX_Environment {
  using UNIX_Environment::envpCache;
  using UNIX_Environment::operator=;
  using UNIX_Environment::vars;
  void clear_cache() override {
    drops += std::to_string(numvars());
    UNIX_Environment::clear_cache();
  }
  std::string drops;  // how many variables there were at each
};

// The strings as /proc/PID/environ has them, each ended by `end`.
std::string joined(char const* const* strings, char end = '\0') {
  std::string all;
  for (; *strings != nullptr; ++strings) all.append(*strings).append(1, end);
  return all;
}

TEST(Environment, EveryChangeDropsTheArrayFirstAndTouchesTheLastOfEqualNames) {
  TestEnvironment environment, other;
  CUL_Environment& set = environment;
  CUL_EnvironmentVariable* added = nullptr;
  EnvironmentVariable const last(text("a"), text("\xFF"));
  EnvironmentVariable variable(text("x"), text("y"));
  EncodedString const zero = text({"c\0d", 3});
  struct Row {
    std::function<void()> change;
    char const *drops, *strings;
  } const rows[] = {
      {[&] { set.set(text("A"), text("1")); }, "0", "A=1;"},
      {[&] { added = set.add(text("A"), text("2")); }, "1", "A=1;A=2;"},
      {[&] { set.add(*set.set(text("a"), text(""))); }, "23", "A=1;A=2;a=;a=;"},
      {[&] { set.set(text("A"), text("3")); }, "4", "A=1;A=3;a=;a=;"},
      {[&] { set = set.remove(text("B")); }, "4", "A=1;A=3;a=;a=;"},
      {[&] { set.remove(*added); }, "4", "A=1;a=;a=;"},  // its own name goes with it
      {[&] { set.set(variable = last); }, "3", "A=1;a=;a=\xFF;"},
      {[&] { other = environment; }, "", "A=1;a=;a=\xFF;"},
      {[&] { set = UNIX_Environment(); }, "3", ""},
      {[&] { set = other; }, "0", "A=1;a=;a=\xFF;"},
      {[&] { environment.clear(); }, "3", ""},
      {[&] { set = UNIX_Environment(other); }, "0", "A=1;a=;a=\xFF;"},
      {[&] { set.add(zero, text("e")); }, "3", "A=1;a=;a=\xFF;c=e;"},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(environment.envp(), environment.envp());
    environment.drops.clear();
    row.change();
    EXPECT_EQ(environment.drops, row.drops);
    EXPECT_EQ(environment.envpCache == nullptr, *row.drops != '\0') << row.drops;
    EXPECT_EQ(joined(environment.envp(), ';'), row.strings);
  }
  AutoList<CUL_EnvironmentVariable*> list;
  list.append(new EnvironmentVariable(last));
  std::unique_ptr<CUL_Environment>(set.clone())->variables(list);
  EXPECT_EQ(bytesOf(list[4]->name()) + bytesOf(set.value(last.name())), std::string("c\0d\xFF", 4));
  EXPECT_EQ(&set.value(text("B")), &other.value(text("C")));
}

TEST(Environment, TheArrayShowsEveryChangeHoweverManyThereWere) {
  TestEnvironment environment;
  std::vector<std::pair<std::string, std::string>> expected;
  std::string strings;
  std::mt19937 random(11);
  for (int step = 0; step < 1000; ++step) {
    std::string name(random() % 7, 'A');  // many end alike
    for (char& letter : name) letter = "AB"[random() % 2];
    std::string const value = std::to_string(step) + std::string(random() % 40, 'v');
    auto const found = std::find_if(expected.rbegin(), expected.rend(),
                                    [&name](auto const& one) { return one.first == name; });
    if (found == expected.rend() || random() % 4 == 0) {
      environment.add(text(name), text(value));
      expected.emplace_back(name, value);
    } else if (random() % 3 == 0) {
      environment.remove(text(name));
      expected.erase(std::next(found).base());
    } else {
      environment.vars[environment.find(text(name))]->changeValue(text(value));
      EXPECT_EQ(joined(environment.envp()), strings);  // what it was before
      environment.clear_cache();
      found->second = value;
    }
    strings.clear();
    for (auto const& one : expected) strings.append(one.first + '=' + one.second).append(1, '\0');
    ASSERT_EQ(joined(environment.envp()), strings);
  }
}

TEST(Environment, WhatTheProcessHasGoesThroughByteForByte) {
  TestEnvironment environment;
  std::string entries[] = {"none", "A=1", "", "B==x=", "C=", "=", "=x", "A=2", "", "\xFF\x80=\n"};
  std::string expected;
  std::vector<char*> strings;
  for (auto& entry : entries) {
    strings.push_back(entry.data());
    if (entry.find('=') != std::string::npos) expected.append(entry).append(1, '\0');
  }
  strings.push_back(nullptr);
  char** const before = std::exchange(environ, strings.data());
  environment.localEnvironment();
  environ = nullptr;
  EXPECT_EQ(UNIX_Environment(environment).localEnvironment().numvars(), 0U);
  environ = before;
  EXPECT_EQ(joined(environment.envp()), expected);
  EXPECT_EQ(bytesOf(environment.value(text("B"))), "=x=");
}

}  // namespace
