#include "quonutil/catalog/CatalogView.h"

#include <cstring>

namespace {

constexpr std::uint32_t kMagic = 0x960408DE;
constexpr std::size_t kHeaderWords = 3;
constexpr std::size_t kSlotWords = 3;
constexpr std::size_t kWord = sizeof(std::uint32_t);
constexpr std::size_t kCopies = 2;  // of each plane, one a byte order

// Where gencat puts a message: a product of 32 bits with a sign, which it then takes as a size.
std::size_t hash(std::uint32_t storedSet, std::uint32_t number) {
  return static_cast<std::size_t>(static_cast<std::int32_t>(storedSet * number));
}

}  // namespace

CatalogView::CatalogView(ByteString const& bytes) noexcept : bytes_(bytes) {
  if (bytes.length() < kHeaderWords * kWord) return;
  std::size_t const slots = word(1);
  std::size_t const planes = word(2);
  std::size_t const room = bytes.length() / kWord - kHeaderWords;  // words
  if (word(0) != kMagic || slots == 0 || planes > room / (kSlotWords * kCopies) / slots) return;
  slots_ = slots;
  planes_ = planes;
}

std::string_view CatalogView::find(int set, int number) const noexcept {
  if (slots_ == 0 || set < 0 || number < 0) return {};
  std::uint32_t const wantedSet = static_cast<std::uint32_t>(set) + 1;
  auto const wantedNumber = static_cast<std::uint32_t>(number);
  std::size_t slot = hash(wantedSet, wantedNumber) % slots_;
  for (std::size_t plane = 0; plane < planes_; ++plane, slot += slots_) {
    std::size_t const first = kHeaderWords + slot * kSlotWords;
    if (word(first) == wantedSet && word(first + 1) == wantedNumber) return textAt(word(first + 2));
  }
  return {};
}

std::uint32_t CatalogView::word(std::size_t index) const noexcept {
  std::uint32_t value;
  std::memcpy(&value, bytes_.data() + index * kWord, kWord);
  return value;
}

std::string_view CatalogView::textAt(std::size_t offset) const noexcept {
  std::size_t const texts = (kHeaderWords + kCopies * planes_ * slots_ * kSlotWords) * kWord;
  std::size_t const start = texts + offset;
  if (start >= bytes_.length()) return {};
  char const* const text = bytes_.text() + start;
  auto const* const end = static_cast<char const*>(std::memchr(text, 0, bytes_.length() - start));
  if (end == nullptr) return {};
  return {text, static_cast<std::size_t>(end - text)};
}
