#include "quonutil/collections/ListImplementation.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

void move(void** to, void* const* from, unsigned int count) {
  if (count != 0) std::memmove(to, from, std::size_t{count} * sizeof(void*));
}

}  // namespace

ListImplementation::ListImplementation(unsigned int room, unsigned int step) : step_(step) {
  if (room > step) reserve(room);  // a step's worth comes with the first entry
}

ListImplementation::ListImplementation(ListImplementation&& other) noexcept
    : storage_(std::exchange(other.storage_, nullptr)),
      first_(std::exchange(other.first_, nullptr)),
      count_(std::exchange(other.count_, 0)),
      room_(std::exchange(other.room_, 0)),
      step_(other.step_) {}

ListImplementation::~ListImplementation() { ::operator delete(storage_); }

void ListImplementation::clear() noexcept {
  count_ = 0;
  first_ = storage_;
}

void ListImplementation::reserve(unsigned int count) {
  if (count > room_) {
    relocate(count, 0);
  } else if (count > count_ + spareBehind()) {
    moveTo(0);
  }
}

void ListImplementation::insert(unsigned int index, void* entry) {
  makeGap(index);
  first_[index] = entry;
  ++count_;
}

void* ListImplementation::remove(unsigned int index) noexcept {
  void* const entry = first_[index];
  unsigned int const behind = count_ - index - 1;
  if (index < behind) {
    move(first_ + 1, first_, index);
    ++first_;
  } else {
    move(first_ + index, first_ + index + 1, behind);
  }
  --count_;
  return entry;
}

// Opens a place at `index` by moving the shorter side, once there is a spare place at its end.
void ListImplementation::makeGap(unsigned int index) {
  bool const front = index < count_ - index;
  if ((front ? spareInFront() : spareBehind()) == 0) {
    // Sliding the entries over is worth it only when the place it wins is as long as they are:
    // then a queue that is filled at one end and emptied at the other never grows nor crawls. Both
    // ends share the spare places, so that entries may come to the two in turn; what is new goes to
    // the end that asks.
    unsigned int const spare = room_ - count_;
    unsigned int const inFront = front ? spare - spare / 2 : spare / 2;
    if (spare > count_) {
      moveTo(inFront);
    } else {
      unsigned int const growth = std::max({step_, count_ / 2, 1U});
      if (growth > std::numeric_limits<unsigned int>::max() - room_) {
        throw std::length_error("List: more entries than 32 bits can count");
      }
      relocate(room_ + growth, front ? inFront + growth : inFront);
    }
  }
  if (front) {
    --first_;
    move(first_, first_ + 1, index);
  } else {
    move(first_ + index + 1, first_ + index, count_ - index);
  }
}

// Leaves `front` spare places in front of the entries.
void ListImplementation::moveTo(unsigned int front) noexcept {
  move(storage_ + front, first_, count_);
  first_ = storage_ + front;
}

void ListImplementation::relocate(unsigned int room, unsigned int front) {
  auto** const larger = static_cast<void**>(::operator new (std::size_t{room} * sizeof(void*)));
  move(larger + front, first_, count_);
  ::operator delete(storage_);
  storage_ = larger;
  first_ = larger + front;
  room_ = room;
}
