#include "cul/environment/Environment.h"

#include <cstdint>
#include <cstring>
#include <memory>

#include "cul/base/Append.h"

namespace {

constexpr unsigned int kRoom = 100;
constexpr unsigned int kSpareRoom = 10;  // beside the variables that are copied

// The end of a text, the zero behind it included. The text is no shorter than the rest of a Word.
template <class Word>
Word endOf(EncodedString const& text, unsigned int length) {
  Word end;
  std::memcpy(&end, text.data() + length + 1 - sizeof end, sizeof end);
  return end;
}

// Names that belong together begin alike: they differ in length or at their ends, where a
// comparison from the front looks last.
template <class Word>
unsigned int findLast(List<EnvironmentVariable*> const& variables, EncodedString const& name) {
  unsigned int const length = name.length();
  Word const end = endOf<Word>(name, length);
  for (unsigned int place = variables.count(); place-- > 0;) {
    // The set makes each of them itself: there is no other name() than this one.
    EncodedString const& other = variables[place]->EnvironmentVariable::name();
    if (other.length() == length && endOf<Word>(other, length) == end && other == name) {
      return place;
    }
  }
  return Environment::kNotFound;
}

template <class Variable, class... Contents>
EnvironmentVariable* appendNew(List<Variable*>& list, Contents const&... contents) {
  return append(list, std::make_unique<EnvironmentVariable>(contents...));
}

}  // namespace

Environment::Environment() : Environment(kRoom) {}

// In two steps, so that the variables are deleted when memory runs out among them.
Environment::Environment(CUL_Environment const& other) : Environment(other.numvars() + kSpareRoom) {
  Environment::operator=(other);
}

Environment::Environment(unsigned int room) : vars(room) {}

Environment::~Environment() { clear(); }

CUL_Environment* Environment::clone() const {
  std::unique_ptr<CUL_Environment> copy(newEnvironment());
  *copy = *this;
  return copy.release();
}

CUL_Environment& Environment::operator=(CUL_Environment const& other) {
  if (this == &other) return *this;
  clear();
  auto const& source = static_cast<Environment const&>(other).vars;
  unsigned int const count = other.numvars();
  vars.reserve(count);
  for (unsigned int i = 0; i < count; ++i) appendNew(vars, *source[i]);
  return *this;
}

CUL_EnvironmentVariable* Environment::set(CUL_EnvironmentVariable const& variable) {
  return set(variable.name(), variable.value());
}

CUL_EnvironmentVariable* Environment::set(EncodedString const& name, EncodedString const& value) {
  unsigned int const place = find(name);
  if (place == kNotFound) return add(name, value);
  clear_cache();
  return &vars[place]->changeValue(value);
}

CUL_EnvironmentVariable* Environment::add(CUL_EnvironmentVariable const& variable) {
  clear_cache();
  return appendNew(vars, variable);
}

CUL_EnvironmentVariable* Environment::add(EncodedString const& name, EncodedString const& value) {
  clear_cache();
  return appendNew(vars, name, value);
}

CUL_Environment& Environment::remove(CUL_EnvironmentVariable const& variable) {
  return remove(variable.name());
}

CUL_Environment& Environment::remove(EncodedString const& name) {
  clear_cache();
  unsigned int const place = find(name);
  if (place != kNotFound) delete vars.remove(place);  // and perhaps `name` with it
  return *this;
}

EncodedString const& Environment::value(EncodedString const& name) const {
  unsigned int const place = find(name);
  if (place != kNotFound) return vars[place]->value();
  static EncodedString const& none = *new EncodedString;
  return none;
}

unsigned int Environment::numvars() const { return vars.count(); }

List<CUL_EnvironmentVariable*>& Environment::variables(List<CUL_EnvironmentVariable*>& list) const {
  for (unsigned int i = 0; i < vars.count(); ++i) appendNew(list, *vars[i]);
  return list;
}

unsigned int Environment::find(EncodedString const& name) const {
  bool const isShort = name.length() < sizeof(std::uint32_t) - 1;
  return isShort ? findLast<char>(vars, name) : findLast<std::uint32_t>(vars, name);
}

void Environment::clear_cache() {}

void Environment::clear() {
  clear_cache();
  vars.deleteElements();
}
