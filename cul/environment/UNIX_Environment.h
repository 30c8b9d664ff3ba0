#pragma once

#include <memory>

#include "cul/environment/Environment.h"

/// The environment set of a Unix process.
///
/// A new one is empty; `localEnvironment()` fills it. That reads environ(7) without a lock: no
/// other thread changes the process's environment meanwhile. An entry without "=" is skipped; the
/// name ends at the first "=", so that it may be empty and the value may contain more of them;
/// equal names and bytes in any encoding are kept. What was loaded comes out of `envp()` byte for
/// byte.
///
/// `envp()` keeps what it builds, so it counts as a change where threads are concerned.
class CUL_EXPORT UNIX_Environment : public Environment {
 public:
  UNIX_Environment();
  /// Copies of the variables of `other`, which is an Environment; no array.
  UNIX_Environment(CUL_Environment const& other);
  /// The same.
  UNIX_Environment(UNIX_Environment const& other)
      : UNIX_Environment(static_cast<CUL_Environment const&>(other)) {}
  ~UNIX_Environment() override;

  CUL_Environment& operator=(CUL_Environment const& other) override;
  CUL_Environment& localEnvironment() override;
  char** envp() const override;
  void clear_cache() override;

  /// As for a CUL_Environment.
  UNIX_Environment& operator=(UNIX_Environment const& other) {
    operator=(static_cast<CUL_Environment const&>(other));
    return *this;
  }

 protected:
  /// What `envp()` gave; null when there is none.
  mutable std::unique_ptr<char*[]> envpCache;

 private:
  CUL_LOCAL static char* stringOf(EnvironmentVariable& variable);
};
