#include "quonutil/settings/DebuggerSettings.h"

#include <stdexcept>

DebuggerSettings::~DebuggerSettings() = default;

void DebuggerSettings::store(Setting& setting, EncodedString const& text) { setting.value = text; }

DebuggerSettings::Setting& DebuggerSettings::setting(unsigned int index) {
  if (index >= kSettings) throw std::out_of_range("DebuggerSettings: no such setting");
  return settings_[index];
}

DebuggerSettings* DebuggerSettings::instance() {
  static auto* const settings = new DebuggerSettings;
  return settings;
}
