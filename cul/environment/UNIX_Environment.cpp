#include "cul/environment/UNIX_Environment.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace {

void assign(EncodedString& text, char const* begin, char const* end) {
  text.assign(begin, static_cast<unsigned int>(end - begin));
}

// Up to the first zero byte, which is where a program would see it end.
void appendSystemText(std::string& strings, EncodedString const& text) {
  strings += text.convert(EncodedString::kSystemText, nullptr).text();
}

// "name=value", each with a zero byte behind it.
std::string stringsOf(List<EnvironmentVariable*> const& variables) {
  std::size_t length = 0;
  for (unsigned int i = 0; i < variables.count(); ++i) {
    length += std::size_t{variables[i]->name().length()} + variables[i]->value().length() + 2;
  }
  std::string strings;
  strings.reserve(length);
  for (unsigned int i = 0; i < variables.count(); ++i) {
    appendSystemText(strings, variables[i]->name());
    strings += '=';
    appendSystemText(strings, variables[i]->value());
    strings += '\0';
  }
  return strings;
}

// One block: a pointer to each of the `count` strings, a null, and the strings themselves.
std::unique_ptr<char* []> arrayOf(std::string const& strings, unsigned int count) {
  std::size_t const pointers = std::size_t{count} + 1;
  std::size_t const roomForStrings = (strings.size() + sizeof(char*) - 1) / sizeof(char*);
  std::unique_ptr<char*[]> block(new char*[pointers + roomForStrings]);
  char* next = reinterpret_cast<char*>(&block[pointers]);
  std::memcpy(next, strings.data(), strings.size());
  for (unsigned int i = 0; i < count; ++i) {
    block[i] = next;
    next += std::strlen(next) + 1;
  }
  block[count] = nullptr;
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
  if (envpCache == nullptr) envpCache = arrayOf(stringsOf(vars), vars.count());
  return envpCache.get();
}

void UNIX_Environment::clear_cache() { envpCache.reset(); }
