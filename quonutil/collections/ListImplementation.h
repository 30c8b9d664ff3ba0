#pragma once

#include "quonutil/Export.h"

/// What every List<T> is: an ordered array of untyped pointers, indexed from 0.
///
/// The entries lie side by side, with spare room at both ends, so that taking off the first entry
/// costs the same however long the list is. An insertion or removal moves the entries of the
/// shorter side. Full, the storage grows by the larger of the step and half the count.
///
/// Throws std::bad_alloc or std::length_error when it cannot grow; the list is then unchanged. An
/// index at or behind `count()` is the caller's mistake and is not examined. One thread at a time.
class QUONUTIL_EXPORT ListImplementation {
 public:
  /// An empty list with room for `room` entries that grows by at least `step` entries. Room that
  /// one step makes is made with the first entry: an empty list costs no allocation then.
  ListImplementation(unsigned int room, unsigned int step);
  /// Takes the entries of `other`, which is empty afterwards.
  ListImplementation(ListImplementation&& other) noexcept;
  ListImplementation(ListImplementation const&) = delete;
  ListImplementation& operator=(ListImplementation const&) = delete;
  ~ListImplementation();

  /// How many entries there are.
  unsigned int count() const noexcept { return count_; }
  /// The entry at `index`.
  void* at(unsigned int index) const noexcept { return first_[index]; }
  /// The same, to be written.
  void*& at(unsigned int index) noexcept { return first_[index]; }

  /// Puts `entry` behind the last one.
  void append(void* entry) {
    if (spareBehind() == 0) return insert(count_, entry);
    first_[count_++] = entry;
  }
  /// Puts `entry` in front of the one at `index`; at `count()` it becomes the last.
  void insert(unsigned int index, void* entry);
  /// Takes the entry at `index` out and returns it.
  void* remove(unsigned int index) noexcept;
  /// Takes the last entry out and returns it.
  void* removeLast() noexcept { return first_[--count_]; }
  /// Forgets every entry and keeps the storage.
  void clear() noexcept;
  /// Makes room for `count` entries in all.
  void reserve(unsigned int count);

 private:
  unsigned int spareInFront() const noexcept {
    return static_cast<unsigned int>(first_ - storage_);
  }
  unsigned int spareBehind() const noexcept { return room_ - spareInFront() - count_; }
  void makeGap(unsigned int index);
  void moveTo(unsigned int front) noexcept;
  void relocate(unsigned int room, unsigned int front);

  void** storage_ = nullptr;
  void** first_ = nullptr;
  unsigned int count_ = 0;
  unsigned int room_ = 0;
  unsigned int step_;
};
