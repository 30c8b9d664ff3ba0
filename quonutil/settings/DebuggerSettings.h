#pragma once

#include "quonutil/text/EncodedString.h"

/// The debugger's stored settings: a table of 32 texts.
///
/// Here they live in memory. A host that keeps them between runs fills the records before it
/// starts the parts that read them, and writes them away when it ends. One thread at a time.
class QUONUTIL_EXPORT DebuggerSettings {
 public:
  static constexpr unsigned int kSettings = 32;  ///< how many records there are

  /// Records that have a name here. The others belong to other parts of the debugger.
  enum Index : unsigned int {
    kSourceSearchPath = 5,
    kDebugInformationCache = 21,
  };

  struct Setting {
    EncodedString value;
  };

  DebuggerSettings() = default;
  DebuggerSettings(DebuggerSettings const&) = delete;
  DebuggerSettings& operator=(DebuggerSettings const&) = delete;
  virtual ~DebuggerSettings();

  /// Makes `text` the value of a record of this table.
  virtual void store(Setting& setting, EncodedString const& text);

  /// The record at `index`, counted from 0. Throws std::out_of_range behind the last one.
  Setting& setting(unsigned int index);

  /// The process's one object, made at first use and never destroyed.
  static DebuggerSettings* instance();

 private:
  Setting settings_[kSettings];
};
