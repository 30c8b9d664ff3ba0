#pragma once

#include <type_traits>

#include "quonutil/collections/ListImplementation.h"

/// An ordered array of pointers. It never deletes what they point to, unless told to with
/// `deleteElements()`. Growth, failures and threads: see ListImplementation.
template <class T>
class List {
  static_assert(std::is_pointer<T>::value, "a List holds pointers");

 public:
  /// An empty list; `room` and `step` as for ListImplementation.
  explicit List(unsigned int room = 8, unsigned int step = 8) : entries_(room, step) {}

  /// How many elements there are.
  unsigned int count() const noexcept { return entries_.count(); }
  /// True when there is none.
  bool isEmpty() const noexcept { return entries_.count() == 0; }
  /// The element at `index`.
  T operator[](unsigned int index) const noexcept { return static_cast<T>(entries_.at(index)); }

  /// Puts `element` behind the last one.
  void append(T element) { entries_.append(untyped(element)); }
  /// Puts `element` in front of the one at `index`; at `count()` it becomes the last.
  void insert(unsigned int index, T element) { entries_.insert(index, untyped(element)); }
  /// Puts `element` in the place of the one at `index`.
  void replace(unsigned int index, T element) noexcept { entries_.at(index) = untyped(element); }
  /// Takes the element at `index` out and returns it; those behind it move down one place.
  T remove(unsigned int index) noexcept { return static_cast<T>(entries_.remove(index)); }
  /// Forgets every element and keeps the storage.
  void clear() noexcept { entries_.clear(); }
  /// Makes room for `count` elements in all.
  void reserve(unsigned int count) { entries_.reserve(count); }

  /// Deletes every element, from the last to the first, and keeps the storage. Each is out of the
  /// list before its destructor runs.
  void deleteElements() {
    while (!isEmpty()) delete static_cast<T>(entries_.removeLast());
  }

 private:
  static void* untyped(T element) noexcept {
    return const_cast<void*>(static_cast<void const*>(element));
  }

  ListImplementation entries_;
};
