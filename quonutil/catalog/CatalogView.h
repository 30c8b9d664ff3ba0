#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "quonutil/text/ByteString.h"

/// Looks into the bytes of a catalog, which it borrows and does not trust.
///
/// Words have 32 bits. Three come first: the magic number, the slots of a plane and the number of
/// planes. Behind them lie the planes, and then the planes again in the other byte order: a slot is
/// a set's number plus 1, a message's number, and where its text begins. Behind these lie the
/// texts, each ended by a zero byte. A message is in the slot of its hash, in any of the planes.
class CatalogView {
 public:
  explicit CatalogView(ByteString const& bytes) noexcept;

  /// True for bytes that are a catalog whose planes are all there.
  bool isWhole() const noexcept { return slots_ != 0; }

  /// The text of a message; one without data when there is none, or none that ends in the file.
  std::string_view find(int set, int number) const noexcept;

 private:
  std::uint32_t word(std::size_t index) const noexcept;
  std::string_view textAt(std::size_t offset) const noexcept;

  ByteString const& bytes_;
  std::size_t slots_ = 0;  // of a plane
  std::size_t planes_ = 0;
};
