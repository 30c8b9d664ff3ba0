#include "quonutil/settings/DebuggerParameters.h"

#include <stdexcept>

DebuggerParameters* DebuggerParameters::instance() {
  static auto* const parameters = new DebuggerParameters;
  return parameters;
}

EncodedString DebuggerParameters::parm(ParmType type) const {
  auto const index = static_cast<unsigned int>(type);
  return index < kTypes ? texts_[index] : EncodedString();
}

void DebuggerParameters::setParm(ParmType type, EncodedString const& text) {
  auto const index = static_cast<unsigned int>(type);
  if (index >= kTypes) throw std::out_of_range("DebuggerParameters: no such parameter");
  texts_[index] = text;
}
