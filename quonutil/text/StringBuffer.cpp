#include "quonutil/text/StringBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>

#include "quonutil/ErrnoKeeper.h"

namespace {

// Page faults are most of what filling a large fresh buffer costs, and a large page takes 512 of
// them at once. Below a few MiB the alignment wastes more than it wins.
constexpr std::size_t kLargeBytes = std::size_t{4} << 20;
constexpr std::align_val_t kLargePage{std::size_t{2} << 20};

constexpr unsigned int kLongest = std::numeric_limits<unsigned int>::max();

template <class T>
std::size_t byteSize(unsigned int room) {
  return (std::size_t{room} + 1) * sizeof(T);
}

}  // namespace

template <class T>
void StringBuffer<T>::refuse() {
  throw std::length_error("StringBuffer: longer than 32 bits can count");
}

template <class T>
T* StringBuffer<T>::allocate(unsigned int room) {
  std::size_t const bytes = byteSize<T>(room);
  ErrnoKeeper const keeper;  // an allocation that succeeds may change it
  if (bytes < kLargeBytes) return static_cast<T*>(::operator new(bytes));
  void* const block = ::operator new(bytes, kLargePage);
  // A wish, not a need: without large pages the buffer is only slower.
  static_cast<void>(::madvise(block, bytes, MADV_HUGEPAGE));
  return static_cast<T*>(block);
}

template <class T>
void StringBuffer<T>::deallocate(T* elements, unsigned int room) noexcept {
  // A path often goes right after the call that it was made for, and not every allocator keeps
  // errno: the C library's does since 2.33.
  ErrnoKeeper const keeper;
  if (byteSize<T>(room) < kLargeBytes) {
    ::operator delete(elements);
  } else {
    ::operator delete(elements, kLargePage);
  }
}

template <class T>
void StringBuffer<T>::replaceStorage(T* elements, unsigned int room) noexcept {
  release();
  elements_ = elements;
  room_ = room;
}

template <class T>
void StringBuffer<T>::makeBuffer(unsigned int count) {
  if (count > room_) replaceStorage(allocate(count), count);
  setLength(count);
}

template <class T>
void StringBuffer<T>::reserve(unsigned int count) {
  if (count <= room_) return;
  T* const larger = allocate(count);
  std::memcpy(larger, elements_, (std::size_t{length_} + 1) * sizeof(T));
  replaceStorage(larger, count);
}

template <class T>
void StringBuffer<T>::copyLong(StringBuffer const& other) {
  elements_ = allocate(other.length_);
  room_ = other.length_;
  std::memcpy(elements_, other.elements_, std::size_t{other.length_} * sizeof(T));
  setLength(other.length_);
}

template <class T>
void StringBuffer<T>::joinLong(StringBuffer const& first, StringBuffer const& second) {
  unsigned int const length = counted(std::size_t{first.length_} + second.length_);
  elements_ = allocate(length);
  room_ = length;
  std::memcpy(elements_, first.elements_, std::size_t{first.length_} * sizeof(T));
  std::memcpy(elements_ + first.length_, second.elements_, std::size_t{second.length_} * sizeof(T));
  setLength(room_);
}

template <class T>
void StringBuffer<T>::assignMany(T const* elements, unsigned int count) {
  if (count <= room_) {
    std::memmove(elements_, elements, std::size_t{count} * sizeof(T));
    return setLength(count);
  }
  T* const larger = allocate(count);
  std::memcpy(larger, elements, std::size_t{count} * sizeof(T));
  replaceStorage(larger, count);
  setLength(count);
}

template <class T>
void StringBuffer<T>::appendMany(T const* elements, unsigned int count) {
  if (count <= room_ - length_) {
    std::memmove(elements_ + length_, elements, std::size_t{count} * sizeof(T));
    return setLength(length_ + count);
  }
  unsigned int const needed = counted(std::size_t{length_} + count);
  unsigned int const twice = room_ > kLongest / 2 ? kLongest : room_ * 2;
  unsigned int const room = std::max(needed, twice);
  T* const larger = allocate(room);
  std::memcpy(larger, elements_, std::size_t{length_} * sizeof(T));
  std::memcpy(larger + length_, elements, std::size_t{count} * sizeof(T));
  replaceStorage(larger, room);
  setLength(needed);
}

template <class T>
unsigned int StringBuffer<T>::indexOf(T element, unsigned int start) const noexcept {
  unsigned int const first = start == 0 ? 0 : start - 1;
  if (first >= length_) return 0;
  T const* const begin = elements_;
  T const* const end = begin + length_;
  T const* const found = std::find(begin + first, end, element);
  return found == end ? 0 : static_cast<unsigned int>(found - begin) + 1;
}

template class StringBuffer<char>;
template class StringBuffer<unsigned char>;
template class StringBuffer<wchar_t>;
