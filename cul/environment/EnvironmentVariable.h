#pragma once

#include <memory>

#include "cul/environment/CUL_EnvironmentVariable.h"

/// A variable that owns its two texts. A change that runs out of memory (std::bad_alloc) leaves it
/// as it was. One thread at a time.
class CUL_EXPORT EnvironmentVariable : public CUL_EnvironmentVariable {
 public:
  /// Copies both texts.
  EnvironmentVariable(EncodedString const& name, EncodedString const& value);
  /// Copies both texts of `other`.
  EnvironmentVariable(CUL_EnvironmentVariable const& other);
  /// The same.
  EnvironmentVariable(EnvironmentVariable const& other)
      : CUL_EnvironmentVariable(other), nameText(other.nameText), valueText(other.valueText) {}
  ~EnvironmentVariable() override;

  EncodedString const& name() const override { return nameText; }
  EncodedString const& value() const override { return valueText; }
  CUL_EnvironmentVariable& changeValue(EncodedString const& value) override;
  CUL_EnvironmentVariable& operator=(CUL_EnvironmentVariable const& other) override;

  /// As for a CUL_EnvironmentVariable.
  EnvironmentVariable& operator=(EnvironmentVariable const& other) {
    operator=(static_cast<CUL_EnvironmentVariable const&>(other));
    return *this;
  }

 protected:
  // Changed by the operations above only: a set does not see another change.
  EncodedString nameText;   ///< what `name()` gives
  EncodedString valueText;  ///< what `value()` gives

 private:
  friend class UNIX_Environment;
  std::unique_ptr<char[]> string_;  // "name=value", as a set has given it out
  bool isStringOld_ = true;  // the texts have changed since, but the array may still be in use
};
