#include "cul/environment/UNIX_Environment.h"
#include "quonutil/collections/AutoList.h"
#include "tests/support/Prelude.h"

namespace {

struct TestEnvironment final : UNIX_Environment {
  using UNIX_Environment::envpCache;
  using UNIX_Environment::operator=;
  void clear_cache() override {
    drops += std::to_string(numvars());
    UNIX_Environment::clear_cache();
  }
  std::string drops;  // how many variables there were at each
};

std::string joined(char const* const* strings) {
  std::string all;
  for (; *strings != nullptr; ++strings) all.append(*strings).append(";");
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
      {[&] { added->changeValue(text("3")); }, "", "A=1;A=2;a=;a=;"},
      {[&] { environment.clear_cache(); }, "4", "A=1;A=3;a=;a=;"},
      {[&] { set.set(text("A"), text("4")); }, "4", "A=1;A=4;a=;a=;"},
      {[&] { set = set.remove(text("B")); }, "4", "A=1;A=4;a=;a=;"},
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
    EXPECT_EQ(joined(environment.envp()), row.strings);
  }
  AutoList<CUL_EnvironmentVariable*> list;
  list.append(new EnvironmentVariable(last));
  std::unique_ptr<CUL_Environment>(set.clone())->variables(list);
  EXPECT_EQ(bytesOf(list[4]->name()) + bytesOf(set.value(last.name())), std::string("c\0d\xFF", 4));
  EXPECT_EQ(&set.value(text("B")), &other.value(text("C")));
}

TEST(Environment, ANameIsFoundAmongOthersOfItsLengthAndOfItsEnd) {
  UNIX_Environment environment;
  for (unsigned int i = 1; i < 256; ++i) {
    std::string name;
    for (unsigned int rest = i; rest > 1; rest /= 2) name += "AB"[rest % 2];
    environment.set(text(name), text(name + "+"));
    EXPECT_EQ(environment.numvars(), i);
    EXPECT_EQ(bytesOf(environment.value(text(name))), name + "+");
  }
}

TEST(Environment, WhatTheProcessHasGoesThroughByteForByte) {
  TestEnvironment environment;
  char const* entries[] = {"none", "A=1", "", "B==x=",       "C=",   "=",
                           "=x",   "A=2", "", "\xFF\x80=\n", nullptr};
  char** const before = std::exchange(environ, const_cast<char**>(entries));
  environment.localEnvironment();
  environ = nullptr;
  EXPECT_EQ(UNIX_Environment(environment).localEnvironment().numvars(), 0U);
  environ = before;
  EXPECT_EQ(joined(environment.envp()), "A=1;B==x=;C=;=;=x;A=2;\xFF\x80=\n;");
  EXPECT_EQ(bytesOf(environment.value(text("B"))), "=x=");
}

}  // namespace
