#pragma once

#include "cul/environment/CUL_Environment.h"
#include "cul/environment/EnvironmentVariable.h"

/// All of an environment set that does not depend on the platform.
///
/// The operations call each other as virtual ones. Whatever a derived class keeps that was made
/// from the variables, it drops in `clear_cache()` and in its destructor: the constructors and the
/// destructor of this class do not reach a derived one's operations, nor does a change of a
/// variable by the variable's own.
class CUL_EXPORT Environment : public CUL_Environment {
 public:
  static constexpr unsigned int kNotFound = 0xFFFFFFFF;  ///< what `find` gives for no variable

  Environment();
  /// Copies of the variables of `other`, which is an Environment.
  Environment(CUL_Environment const& other);
  /// The same.
  Environment(Environment const& other) : Environment(static_cast<CUL_Environment const&>(other)) {}
  ~Environment() override;

  CUL_Environment* clone() const override;
  CUL_Environment& operator=(CUL_Environment const& other) override;
  CUL_EnvironmentVariable* set(CUL_EnvironmentVariable const& variable) override;
  CUL_EnvironmentVariable* set(EncodedString const& name, EncodedString const& value) override;
  CUL_EnvironmentVariable* add(CUL_EnvironmentVariable const& variable) override;
  CUL_EnvironmentVariable* add(EncodedString const& name, EncodedString const& value) override;
  CUL_Environment& remove(CUL_EnvironmentVariable const& variable) override;
  CUL_Environment& remove(EncodedString const& name) override;
  EncodedString const& value(EncodedString const& name) const override;
  unsigned int numvars() const override;
  List<CUL_EnvironmentVariable*>& variables(List<CUL_EnvironmentVariable*>& list) const override;

  /// The place of the last variable of this name, counted from 0, or kNotFound.
  virtual unsigned int find(EncodedString const& name) const;

  /// Runs before every change of the set, and before a removal or a clearing that finds nothing to
  /// change. Does nothing here.
  virtual void clear_cache();

  /// As for a CUL_Environment.
  Environment& operator=(Environment const& other) {
    operator=(static_cast<CUL_Environment const&>(other));
    return *this;
  }

  /// Removes every variable, from the last to the first.
  void clear();

 protected:
  /// In the order they were added; owned. Each is an EnvironmentVariable itself: a derived class
  /// puts in none of a kind of its own.
  List<EnvironmentVariable*> vars;

 private:
  explicit Environment(unsigned int room);
};
