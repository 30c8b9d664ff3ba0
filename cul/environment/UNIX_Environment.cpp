#include "cul/environment/UNIX_Environment.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <utility>

namespace {

void assign(EncodedString& text, char const* begin, char const* end) {
  text.assign(begin, static_cast<unsigned int>(end - begin));
}

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
    assign(name, *entry, equals);
    assign(value, equals + 1, equals + 1 + std::strlen(equals + 1));
    add(name, value);
  }
  return *this;
}

char** UNIX_Environment::envp() const {
  if (envpCache == nullptr) {
    std::unique_ptr<char*[]> array(new char*[std::size_t{vars.count()} + 1]);
    while (!fill(array.get())) makeRoom();
    envpCache = std::move(array);
  }
  return envpCache.get();
}

// Most often one variable is new or has changed since the last array: the others' strings stay.
// False when there is no room for one that must be written.
bool UNIX_Environment::fill(char** array) const {
  for (unsigned int i = 0; i < vars.count(); ++i) {
    EnvironmentVariable& variable = *vars[i];
    if (variable.string_ == nullptr) {
      if (roomFor(variable.nameText) + roomFor(variable.valueText) > room_ - used_) return false;
      char* const string = &strings_[used_];
      char* const end = write(variable.valueText, '\0', write(variable.nameText, '=', string));
      used_ = static_cast<std::size_t>(end - strings_.get());
      variable.string_ = string;
    }
    array[i] = variable.string_;
  }
  array[vars.count()] = nullptr;
  return true;
}

// A new block for the strings of all variables, which are then to be written.
void UNIX_Environment::makeRoom() const {
  std::size_t room = 0;
  for (unsigned int i = 0; i < vars.count(); ++i) {
    EnvironmentVariable& variable = *vars[i];
    room += roomFor(variable.nameText) + roomFor(variable.valueText);
    variable.string_ = nullptr;
  }
  // A set that changes gets a half more, so that a block lasts for that many changes.
  if (strings_ != nullptr) room += room / 2;
  strings_.reset(new char[room]);
  room_ = room;
  used_ = 0;
}

void UNIX_Environment::clear_cache() { envpCache.reset(); }
