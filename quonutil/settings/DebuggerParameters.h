#pragma once

#include "quonutil/text/EncodedString.h"

/// The parameters that this run of the debugger was given. They live in memory; the host sets them
/// before it starts the parts that read them.
class QUONUTIL_EXPORT DebuggerParameters {
 public:
  /// Numbers from 0 to 31. Those without a name here belong to other parts of the debugger.
  enum ParmType : int {
    kCacheParameter = 6,  ///< directory[:hours[:flush|noflush]] of the debug-information cache
  };

  /// The process's one object, made at first use and never destroyed.
  static DebuggerParameters* instance();

  /// The text of a parameter, empty when none was given.
  EncodedString parm(ParmType type) const;

  /// Gives a parameter, or with an empty text takes it back. Not beside another thread's call.
  /// Throws std::out_of_range for a type that does not exist.
  void setParm(ParmType type, EncodedString const& text);

 private:
  static constexpr unsigned int kTypes = 32;

  DebuggerParameters() = default;

  EncodedString texts_[kTypes];
};
