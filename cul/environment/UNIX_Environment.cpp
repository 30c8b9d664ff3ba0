#include "cul/environment/UNIX_Environment.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <utility>

namespace {

ByteString systemBytes(EncodedString const& text) {
  return text.convert(EncodedString::kSystemText, nullptr);
}

// No fewer bytes than a text takes in the system's encoding, and one for what stands behind it.
std::size_t roomFor(EncodedString const& text) {
  bool const isSystemText = text.encoding() == EncodedString::kSystemText;
  return std::size_t{isSystemText ? text.length() : systemBytes(text).length()} + 1;
}

// Writes a text up to its first zero byte, which is where a program would see it end, and then
// `end`. Returns where the next one goes.
char* write(EncodedString const& text, char end, char* to) {
  bool const isSystemText = text.encoding() == EncodedString::kSystemText;
  to = ::stpcpy(to, isSystemText ? text.data() : systemBytes(text).text());
  *to = end;
  return to + 1;
}

}  // namespace

UNIX_Environment::UNIX_Environment() = default;

UNIX_Environment::UNIX_Environment(CUL_Environment const& other) : Environment(other) {}

UNIX_Environment::~UNIX_Environment() = default;

CUL_Environment& UNIX_Environment::operator=(CUL_Environment const& other) {
  return Environment::operator=(other);
}

CUL_Environment& UNIX_Environment::localEnvironment() {
  clear();
  if (environ == nullptr) return *this;
  unsigned int count = 0;
  while (environ[count] != nullptr) ++count;
  vars.reserve(count);
  EncodedString name("", EncodedString::kSystemText);
  EncodedString value("", EncodedString::kSystemText);
  for (char const* const* entry = environ; *entry != nullptr; ++entry) {
    char const* const equals = std::strchr(*entry, '=');
    if (equals == nullptr) continue;
    name.assign(*entry, EncodedString::counted(static_cast<std::size_t>(equals - *entry)));
    value.assign(equals + 1, EncodedString::counted(std::strlen(equals + 1)));
    add(name, value);
  }
  return *this;
}

char** UNIX_Environment::envp() const {
  if (envpCache == nullptr) {
    unsigned int const count = vars.count();
    std::unique_ptr<char*[]> array(new char*[std::size_t{count} + 1]);
    for (unsigned int i = 0; i < count; ++i) array[i] = stringOf(*vars[i]);
    array[count] = nullptr;
    envpCache = std::move(array);
  }
  return envpCache.get();
}

// Most often one variable is new or has changed since the last array: the others' strings stay.
char* UNIX_Environment::stringOf(EnvironmentVariable& variable) {
  if (variable.isStringOld_) {
    EncodedString const& name = variable.nameText;
    EncodedString const& value = variable.valueText;
    std::unique_ptr<char[]> string(new char[roomFor(name) + roomFor(value)]);
    write(value, '\0', write(name, '=', string.get()));
    variable.string_ = std::move(string);
    variable.isStringOld_ = false;
  }
  return variable.string_.get();
}

void UNIX_Environment::clear_cache() { envpCache.reset(); }
