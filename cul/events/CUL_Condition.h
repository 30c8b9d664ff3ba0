#pragma once

#include "cul/base/Export.h"

class DSL_Thread;  // the host's own

/// A question that a host may ask of a thread. Derived classes override the answers.
class CUL_EXPORT CUL_Condition {
 public:
  virtual ~CUL_Condition();

  /// Whether the condition can no longer come true. Here: never.
  virtual bool has_expired() const;

  /// Whether the condition holds for `thread`. Here: always.
  virtual bool is_true(DSL_Thread& thread) const;
};
