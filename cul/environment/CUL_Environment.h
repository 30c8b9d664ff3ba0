#pragma once

#include "cul/base/Export.h"
#include "cul/environment/CUL_EnvironmentVariable.h"
#include "quonutil/collections/List.h"
#include "quonutil/text/EncodedString.h"

/// An editable, ordered set of environment variables, such as a program is started with.
///
/// Names are compared by bytes, letter case included. Several variables may have one name; the last
/// of them is the one that counts: `set`, `remove` and `value` see no other.
///
/// The set owns its variables. A pointer to one, as `set` and `add` give it, is good until that
/// variable is removed or the set is cleared, assigned to, loaded or destroyed.
///
/// Throws std::bad_alloc, and std::length_error for a text that 32 bits cannot count. A set is then
/// as it was, except that one that was being loaded or assigned to holds what it had got so far.
/// One thread at a time.
class CUL_EXPORT CUL_Environment {
 public:
  /// A new, empty set of the platform's kind; the caller's to delete.
  static CUL_Environment* newEnvironment();

  virtual ~CUL_Environment();

  /// A new set of the platform's kind with the same variables; the caller's to delete.
  virtual CUL_Environment* clone() const = 0;

  /// Replaces the variables by copies of those of `other`, which is an Environment. Assigning a set
  /// to itself changes nothing.
  virtual CUL_Environment& operator=(CUL_Environment const& other) = 0;

  /// Replaces the variables by those of the running process, in its order.
  virtual CUL_Environment& localEnvironment() = 0;

  /// Gives the variable of this name a value where it stands, or adds one when there is none. Of
  /// several it is the last, while getenv(3) in a child takes the first.
  virtual CUL_EnvironmentVariable* set(CUL_EnvironmentVariable const& variable) = 0;
  /// The same for a name and a value.
  virtual CUL_EnvironmentVariable* set(EncodedString const& name, EncodedString const& value) = 0;

  /// Adds a variable at the end, whether or not there is one of this name. Names are not examined:
  /// one with "=" in it reaches a child as a shorter name.
  virtual CUL_EnvironmentVariable* add(CUL_EnvironmentVariable const& variable) = 0;
  /// The same for a name and a value.
  virtual CUL_EnvironmentVariable* add(EncodedString const& name, EncodedString const& value) = 0;

  /// Removes the variable of this name, if there is one. An earlier one of the same name is then
  /// the one that counts.
  virtual CUL_Environment& remove(CUL_EnvironmentVariable const& variable) = 0;
  /// The same for a name.
  virtual CUL_Environment& remove(EncodedString const& name) = 0;

  /// The value of the variable of this name, borrowed; an empty text when there is none, the same
  /// object every time.
  virtual EncodedString const& value(EncodedString const& name) const = 0;

  /// How many variables there are.
  virtual unsigned int numvars() const = 0;

  /// The variables as exec(3) and posix_spawn(3) take them: "name=value", in order, then null.
  ///
  /// A text goes out in the system's encoding, and ends at its first zero byte. The array belongs
  /// to the set and is not to be modified. It goes with the set, and with the next `set`, `add`,
  /// `remove`, clearing, loading or assignment, also with one that finds nothing to change or runs
  /// out of memory; the first call after that builds it anew. A variable's own `changeValue` leaves
  /// it as it was.
  virtual char** envp() const = 0;

  /// Appends a copy of each variable, in order, to `list` and returns it. The copies are the
  /// caller's to delete, those that were made before memory ran out too.
  virtual List<CUL_EnvironmentVariable*>& variables(List<CUL_EnvironmentVariable*>& list) const = 0;

 protected:
  CUL_Environment() noexcept = default;
  CUL_Environment(CUL_Environment const&) noexcept = default;
};
