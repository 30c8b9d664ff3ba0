#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "quonutil/Export.h"

/// A run of elements: what the text types and ByteString are made of.
///
/// The length is an unsigned 32-bit count. Behind the last element stands a zero element that the
/// length does not count, so that `data()` serves as a C string. Short contents, up to 15 bytes or
/// 7 wide characters, lie inside the object and cost no allocation. Positions count from 1; 0
/// means "not found".
///
/// A buffer of 4 MiB or more asks the system for large pages. No element is touched before
/// somebody writes it.
///
/// Throws std::bad_alloc when memory runs out and std::length_error when a length does not fit in
/// 32 bits; the contents are then what they were before. errno stays what it was. An object that
/// nobody changes may be read by any number of threads.
///
/// What is not inline is in the library, for char, unsigned char and wchar_t; the rest is compiled
/// by each caller and exported by nobody.
template <class T>
class StringBuffer {
  static_assert(std::is_trivially_copyable<T>::value, "elements are moved as plain bytes");

 public:
  StringBuffer() noexcept : elements_(short_), length_(0), room_(kShortRoom) { short_[0] = T(); }
  /// A copy of `count` elements.
  StringBuffer(T const* elements, unsigned int count) : StringBuffer() { assign(elements, count); }
  /// A copy of the contents; room to spare is not copied.
  StringBuffer(StringBuffer const& other) : elements_(short_), room_(kShortRoom) {
    if (other.length_ <= kShortRoom) {
      copyShort(other);
    } else {
      copyLong(other);
    }
  }
  /// Takes the contents of `other`, which is empty afterwards.
  StringBuffer(StringBuffer&& other) noexcept : elements_(short_), room_(kShortRoom) {
    take(other);
  }
  /// Both contents, one behind the other, in one allocation or, when they are short, in none.
  StringBuffer(StringBuffer const& first, StringBuffer const& second)
      : elements_(short_), room_(kShortRoom) {
    if (first.length_ <= kShortRoom && second.length_ <= kShortRoom - first.length_) {
      copyShort(first);
      append(second.elements_, second.length_);
    } else {
      joinLong(first, second);
    }
  }
  ~StringBuffer() { release(); }

  /// Replaces the contents by a copy of those of `other`.
  StringBuffer& operator=(StringBuffer const& other) {
    if (this != &other) assign(other.elements_, other.length_);
    return *this;
  }
  /// Takes the contents of `other`, which is empty afterwards.
  StringBuffer& operator=(StringBuffer&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }

  /// The number of elements, the terminating zero not among them.
  unsigned int length() const noexcept { return length_; }
  /// True when there is no element.
  bool isEmpty() const noexcept { return length_ == 0; }

  /// The elements, ended by a zero. Borrowed: valid until the object changes or goes.
  T const* data() const noexcept { return elements_; }
  /// The same, to be written to; the zero behind the last one stays as it is.
  T* data() noexcept { return elements_; }

  /// Makes the length exactly `count`. What the elements then hold is unspecified; the caller
  /// fills them.
  QUONUTIL_EXPORT void makeBuffer(unsigned int count);

  /// Makes room for `count` elements, so that appends up to that length do not allocate.
  QUONUTIL_EXPORT void reserve(unsigned int count);

  /// Replaces the contents by a copy of `count` elements, which may lie in this very object.
  void assign(T const* elements, unsigned int count) {
    if (count <= kFew && count <= room_) {
      moveFew(elements_, elements, count);
      setLength(count);
    } else {
      assignMany(elements, count);
    }
  }

  /// Puts a copy of `count` elements, which may lie in this very object, behind the contents.
  void append(T const* elements, unsigned int count) {
    if (count <= kFew && count <= room_ - length_) {
      moveFew(elements_ + length_, elements, count);
      setLength(length_ + count);
    } else {
      appendMany(elements, count);
    }
  }

  /// Cuts the contents to their first `count` elements; shorter ones stay as they are.
  void cut(unsigned int count) noexcept {
    if (count < length_) setLength(count);
  }

  /// Empties the contents and keeps the storage.
  void clear() noexcept { setLength(0); }

  /// The position of the first `element` at or behind position `start`, or 0. A `start` of 0
  /// counts as 1.
  QUONUTIL_EXPORT unsigned int indexOf(T element, unsigned int start) const noexcept;

  /// `length` as the 32 bits that count here; throws std::length_error when it does not fit.
  static unsigned int counted(std::size_t length) {
    if (length > std::numeric_limits<unsigned int>::max()) refuse();
    return static_cast<unsigned int>(length);
  }

  /// True when both hold the same elements. Room plays no part, nor does what a derived type adds.
  bool sameElements(StringBuffer const& other) const noexcept {
    return length_ == other.length_ &&
           std::memcmp(elements_, other.elements_, length_ * sizeof(T)) == 0;
  }

 private:
  static constexpr unsigned int kShortRoom = sizeof(T) == 1 ? 15 : 7;
  static constexpr unsigned int kFew = 16 / sizeof(T);  // are moved without a call

  [[noreturn]] QUONUTIL_EXPORT static void refuse();
  static T* allocate(unsigned int room);
  QUONUTIL_EXPORT static void deallocate(T* elements, unsigned int room) noexcept;

  void setLength(unsigned int length) noexcept {
    length_ = length;
    elements_[length] = T();
  }
  void release() noexcept {
    if (elements_ != short_) deallocate(elements_, room_);
  }
  // By two moves that may overlap, both read before one is written: a call would cost more.
  static void moveFew(T* to, T const* from, std::size_t count) noexcept {
    if (count * sizeof(T) >= 8) {
      moveEnds<std::uint64_t>(to, from, count);
    } else if (count * sizeof(T) >= 4) {
      moveEnds<std::uint32_t>(to, from, count);
    } else if (count != 0) {
      T const first = from[0], middle = from[count / 2], last = from[count - 1];
      to[0] = first, to[count / 2] = middle, to[count - 1] = last;
    }
  }
  template <class Word>
  static void moveEnds(T* to, T const* from, std::size_t count) noexcept {
    std::size_t const behind = count - sizeof(Word) / sizeof(T);
    Word first, last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + behind, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + behind, &last, sizeof last);
  }
  // Always the whole inner array: of constant size it is two or four moves and no call. An outer
  // buffer is never smaller than the inner one.
  void copyShort(StringBuffer const& other) noexcept {
    std::memcpy(short_, other.elements_, sizeof short_);
    length_ = other.length_;
  }
  void take(StringBuffer& other) noexcept {
    elements_ = short_;
    room_ = kShortRoom;
    if (other.elements_ == other.short_) {
      copyShort(other);
    } else {
      elements_ = other.elements_;
      length_ = other.length_;
      room_ = other.room_;
      other.elements_ = other.short_;
      other.room_ = kShortRoom;
    }
    other.setLength(0);
  }
  QUONUTIL_EXPORT void copyLong(StringBuffer const& other);
  QUONUTIL_EXPORT void joinLong(StringBuffer const& first, StringBuffer const& second);
  QUONUTIL_EXPORT void assignMany(T const* elements, unsigned int count);
  QUONUTIL_EXPORT void appendMany(T const* elements, unsigned int count);
  void replaceStorage(T* elements, unsigned int room) noexcept;

  T* elements_;
  unsigned int length_;
  unsigned int room_;  // elements that fit, the terminating zero not among them
  T short_[kShortRoom + 1];
};
