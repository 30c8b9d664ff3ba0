#pragma once

#include <memory>

#include "quonutil/collections/List.h"

/// Appends `made` to a list whose owner deletes it from then on. When the list cannot grow it is
/// deleted at once, and the exception passes.
template <class Element, class Made>
Made* append(List<Element*>& list, std::unique_ptr<Made> made) {
  list.append(made.get());
  return made.release();
}
