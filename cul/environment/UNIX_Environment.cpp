#include "cul/environment/UNIX_Environment.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace {

void assign(EncodedString& text, char const* begin, char const* end) {
  text.assign(begin, static_cast<unsigned int>(end - begin));
}

// Shows the bytes of a text in the system's encoding to `see`. Those of a text that has it already
// need not be made first.
template <class See>
void withSystemBytes(EncodedString const& text, See see) {
  if (text.encoding() == EncodedString::kSystemText) {
    see(text.data(), text.length());
  } else {
    ByteString const bytes = text.convert(EncodedString::kSystemText, nullptr);
    see(bytes.text(), bytes.length());
  }
}

// No fewer bytes than the strings of the variables take, each with its "=" and its zero byte.
std::size_t roomFor(List<EnvironmentVariable*> const& variables) {
  std::size_t room = 0;
  auto const add = [&room](char const*, unsigned int length) { room += std::size_t{length} + 1; };
  for (unsigned int i = 0; i < variables.count(); ++i) {
    withSystemBytes(variables[i]->name(), add);
    withSystemBytes(variables[i]->value(), add);
  }
  return room;
}

// Writes a text up to its first zero byte, which is where a program would see it end, and then
// `end`. Returns where the next one goes.
char* write(EncodedString const& text, char end, char* to) {
  withSystemBytes(text, [&to](char const* bytes, unsigned int) { to = ::stpcpy(to, bytes); });
  *to = end;
  return to + 1;
}

// One block: a pointer to each "name=value", a null, and the strings themselves.
std::unique_ptr<char* []> arrayOf(List<EnvironmentVariable*> const& variables) {
  std::size_t const pointers = std::size_t{variables.count()} + 1;
  std::size_t const roomForStrings = (roomFor(variables) + sizeof(char*) - 1) / sizeof(char*);
  std::unique_ptr<char*[]> block(new char*[pointers + roomForStrings]);
  char* next = reinterpret_cast<char*>(&block[pointers]);
  for (unsigned int i = 0; i < variables.count(); ++i) {
    block[i] = next;
    next = write(variables[i]->name(), '=', next);
    next = write(variables[i]->value(), '\0', next);
  }
  block[variables.count()] = nullptr;
  return block;
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
  if (envpCache == nullptr) envpCache = arrayOf(vars);
  return envpCache.get();
}

void UNIX_Environment::clear_cache() { envpCache.reset(); }
