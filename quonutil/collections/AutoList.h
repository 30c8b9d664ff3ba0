#pragma once

#include <utility>

#include "quonutil/collections/List.h"

/// A List that owns its elements: it deletes those it still holds, from the last to the first,
/// when it is destroyed. An element that is removed belongs to whoever removed it.
template <class T>
class AutoList : public List<T> {
 public:
  using List<T>::List;
  /// Takes the elements of a list over.
  explicit AutoList(List<T>&& elements) noexcept : List<T>(std::move(elements)) {}
  AutoList(AutoList const&) = delete;
  AutoList& operator=(AutoList const&) = delete;
  ~AutoList() { this->deleteElements(); }
};
