#include "cul/environment/EnvironmentVariable.h"

#include <utility>

EnvironmentVariable::EnvironmentVariable(EncodedString const& name, EncodedString const& value)
    : nameText(name), valueText(value) {}

EnvironmentVariable::EnvironmentVariable(CUL_EnvironmentVariable const& other)
    : EnvironmentVariable(other.name(), other.value()) {}

EnvironmentVariable::~EnvironmentVariable() = default;

CUL_EnvironmentVariable& EnvironmentVariable::changeValue(EncodedString const& value) {
  valueText = value;
  isStringOld_ = true;
  return *this;
}

CUL_EnvironmentVariable& EnvironmentVariable::operator=(CUL_EnvironmentVariable const& other) {
  EncodedString name = other.name();
  EncodedString value = other.value();
  nameText = std::move(name);
  valueText = std::move(value);
  isStringOld_ = true;
  return *this;
}
