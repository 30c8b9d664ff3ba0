#pragma once

#include "cul/base/Export.h"
#include "quonutil/text/EncodedString.h"

/// One variable of an environment set: a name and a value. A set makes its own; see
/// EnvironmentVariable for one outside a set.
class CUL_EXPORT CUL_EnvironmentVariable {
 public:
  virtual ~CUL_EnvironmentVariable();

  /// The name, borrowed until the variable changes or goes.
  virtual EncodedString const& name() const = 0;
  /// The value, borrowed as the name is.
  virtual EncodedString const& value() const = 0;

  /// Replaces the value and returns the variable. The set that owns the variable is not told: an
  /// array that its `envp()` has built keeps the old value. CUL_Environment::set drops the array.
  virtual CUL_EnvironmentVariable& changeValue(EncodedString const& value) = 0;

  /// Takes name and value of another variable. What is said of `changeValue` holds here too.
  virtual CUL_EnvironmentVariable& operator=(CUL_EnvironmentVariable const& other) = 0;

 protected:
  CUL_EnvironmentVariable() noexcept = default;
  CUL_EnvironmentVariable(CUL_EnvironmentVariable const&) noexcept = default;
};
