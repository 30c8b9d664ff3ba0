// Environments of many variables: taking the process's own, looking variables up, and changing one
// for a program that is started next. A row that finds or gives something else fails.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unistd.h>

#include <boost/process/environment.hpp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "cul/environment/UNIX_Environment.h"

namespace {

EncodedString text(std::string const& of) { return {of.c_str(), EncodedString::kSystemText}; }

std::string alike(unsigned int i) {
  char name[32];
  std::snprintf(name, sizeof name, "PROJECT_VARIABLE_%04u", i);
  return name;
}

// Letters, and the number at the end so that there is no second one of the name: 5 to 20 bytes.
std::string different(unsigned int i) {
  std::mt19937 random(i);
  std::string name(1 + random() % 16, ' ');
  for (char& letter : name) letter = static_cast<char>('A' + random() % 26);
  return name + alike(i).substr(17);
}

// So many variables with values of 0 to 63 bytes. They are the process's environment until the
// object goes.
class Variables {
 public:
  using Name = std::string (*)(unsigned int);

  Variables(std::int64_t count, Name name) : before_(environ) {
    std::mt19937 random(1000);
    for (unsigned int i = 0; i < count; ++i) {
      names_.push_back(name(i));
      values_.emplace_back(random() % 64, 'v');
      texts_.push_back(names_.back() + "=" + values_.back());
    }
    for (std::string& one : texts_) entries_.push_back(one.data());
    entries_.push_back(nullptr);
    environ = entries_.data();
  }
  Variables(Variables const&) = delete;
  Variables& operator=(Variables const&) = delete;
  ~Variables() { environ = before_; }

  std::vector<std::string> const& names() const { return names_; }
  std::vector<std::string> const& values() const { return values_; }
  // True when `array` holds these very variables.
  bool match(char const* const* array) const {
    for (std::string const& one : texts_) {
      if (*array == nullptr || one != *array++) return false;
    }
    return *array == nullptr;
  }

 private:
  char** before_;
  std::vector<std::string> names_, values_, texts_;
  std::vector<char*> entries_;
};

void loadCul(benchmark::State& state) {
  Variables const variables(state.range(0), different);
  UNIX_Environment environment;
  for (auto _ : state) {
    environment.localEnvironment();
    if (environment.numvars() != state.range(0)) state.SkipWithError("gives something else");
    environment.clear();
  }
  if (!variables.match(environment.localEnvironment().envp())) {
    state.SkipWithError("gives something else");
  }
}

void loadGlib(benchmark::State& state) {
  Variables const variables(state.range(0), different);
  for (auto _ : state) {
    gchar** environment = ::g_get_environ();
    benchmark::DoNotOptimize(environment);
    ::g_strfreev(environment);
  }
  gchar** const environment = ::g_get_environ();
  if (!variables.match(environment)) state.SkipWithError("gives something else");
  ::g_strfreev(environment);
}

// The searchers: a copy of the process's environment, and names as each likes them best.

class Cul {
 public:
  explicit Cul(std::vector<std::string> const& names) {
    environment_.localEnvironment();
    for (auto const& name : names) names_.push_back(text(name));
  }
  char const* value(std::size_t i) const { return environment_.value(names_[i]).data(); }

 private:
  UNIX_Environment environment_;
  std::vector<EncodedString> names_;
};

class Glib {
 public:
  explicit Glib(std::vector<std::string> const& names) : names_(names) {}
  char const* value(std::size_t i) const {
    return ::g_environ_getenv(environment_.get(), names_[i].c_str());
  }

 private:
  std::unique_ptr<gchar*, void (*)(gchar**)> environment_{::g_get_environ(), ::g_strfreev};
  std::vector<std::string> const& names_;
};

// Gives the value as a text of its own.
class Boost {
 public:
  explicit Boost(std::vector<std::string> const& names) : names_(names) {}
  std::string value(std::size_t i) const { return environment_.at(names_[i]).to_string(); }

 private:
  boost::process::environment const environment_{boost::process::native_environment()};
  std::vector<std::string> const& names_;
};

template <class Searcher, Variables::Name kName>
void value(benchmark::State& state) {
  Variables const variables(state.range(0), kName);
  Searcher const searcher(variables.names());
  std::size_t const count = variables.names().size();
  for (std::size_t i = 0; i < count; ++i) {
    if (searcher.value(i) != variables.values()[i]) state.SkipWithError("finds something else");
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i) {
      auto found = searcher.value(i);
      benchmark::DoNotOptimize(found);
    }
  }
}

// Environments that change: each gives the array with the change in it.

class CulChanges {
 public:
  using Text = EncodedString;
  static Text make(std::string const& of) { return text(of); }
  CulChanges() { environment_.localEnvironment(); }
  char** change(Text const& name, Text const& value) {
    environment_.set(name, value);
    return environment_.envp();
  }

 private:
  UNIX_Environment environment_;
};

class BoostChanges {
 public:
  using Text = std::string;
  static Text make(std::string const& of) { return of; }
  char** change(Text const& name, Text const& value) {
    environment_[name] = value;
    return environment_._env_impl;
  }

 private:
  boost::process::environment environment_{boost::process::native_environment()};
};

// Every variable in turn, first to another value and in the next round back to its own.
template <class Changes>
void change(benchmark::State& state) {
  Variables const variables(state.range(0), different);
  std::vector<typename Changes::Text> names, values;
  for (auto const& name : variables.names()) names.push_back(Changes::make(name));
  for (auto const& value : variables.values()) values.push_back(Changes::make(value));
  auto const other = Changes::make(std::string(25, 'o'));
  Changes changes;
  std::size_t i = 0;
  bool isOwn = false;
  for (auto _ : state) {
    char** array = changes.change(names[i], isOwn ? values[i] : other);
    benchmark::DoNotOptimize(array);
    if (++i == names.size()) {
      i = 0;
      isOwn = !isOwn;
    }
  }
  char** array = nullptr;
  for (i = 0; i < names.size(); ++i) array = changes.change(names[i], values[i]);
  if (!variables.match(array)) state.SkipWithError("gives something else");
}

void counts(benchmark::internal::Benchmark* row) {
  row->Arg(50)->Arg(1000)->MinTime(0.05)->Repetitions(15);
}

// What it costs to take the environment of the process, and to let go of it.
BENCHMARK(loadCul)->Name("load/cul")->Apply(counts);
BENCHMARK(loadGlib)->Name("load/glib")->Apply(counts);

// What it costs to look up every variable: names of every length, and names that differ only in
// their last bytes.
BENCHMARK(value<Cul, different>)->Name("value/cul")->Apply(counts);
BENCHMARK(value<Glib, different>)->Name("value/glib")->Apply(counts);
BENCHMARK(value<Boost, different>)->Name("value/boost")->Apply(counts);
BENCHMARK(value<Cul, alike>)->Name("value.alike/cul")->Apply(counts);
BENCHMARK(value<Glib, alike>)->Name("value.alike/glib")->Apply(counts);
BENCHMARK(value<Boost, alike>)->Name("value.alike/boost")->Apply(counts);

// What it costs to change one variable and to hand the environment to exec.
BENCHMARK(change<CulChanges>)->Name("change/cul")->Apply(counts);
BENCHMARK(change<BoostChanges>)->Name("change/boost")->Apply(counts);

}  // namespace
