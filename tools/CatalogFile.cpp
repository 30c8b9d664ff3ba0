#include "CatalogFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Arguments.h"
#include "File.h"
#include "Text.h"
#include "quonutil/catalog/XPG4MsgServer.h"

namespace {

constexpr std::size_t kWord = 4;
constexpr std::size_t kHeaderWords = 3;  // a magic number, the slots of a plane, the planes
constexpr std::size_t kSlotWords = 3;    // a set plus 1, a message, a place; zeros where it is free

std::uint32_t word(std::string const& bytes, std::size_t index) {
  std::uint32_t value;
  std::memcpy(&value, bytes.data() + index * kWord, kWord);
  return value;
}

// Sets and messages as gencat(1) lays them down.
std::vector<std::pair<int, int>> identifiersIn(std::string const& bytes) {
  std::size_t const words = bytes.size() / kWord;
  if (words < kHeaderWords) return {};
  std::size_t const room = (words - kHeaderWords) / kSlotWords;
  std::size_t const slots = std::min(std::size_t{word(bytes, 1)} * word(bytes, 2), room);
  std::vector<std::pair<int, int>> identifiers;
  for (std::size_t slot = 0; slot < slots; ++slot) {
    std::size_t const first = kHeaderWords + slot * kSlotWords;
    std::uint32_t const set = word(bytes, first), number = word(bytes, first + 1);
    if (set != 0) identifiers.emplace_back(static_cast<int>(set - 1), static_cast<int>(number));
  }
  return identifiers;
}

}  // namespace

Messages messagesOf(std::string const& path) {
  std::string const bytes = contentOf(path);
  // With a "/" the name is a path to the server.
  std::string const name = path.find('/') == std::string::npos ? "./" + path : path;
  XPG4MsgServer const server(nullptr, name.c_str());
  if (!server.isOpen()) throw Failure(path + ": no compiled catalog, as gencat makes it");
  Messages messages;
  for (auto const& [set, number] : identifiersIn(bytes)) {
    messages[{set, number}] = bytesOf(server.message(set, number));
  }
  return messages;
}
