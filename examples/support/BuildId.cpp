#include "BuildId.h"

#include <elf.h>

#include <cstring>

namespace {

std::string hexadecimal(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (char byte : bytes) {
    auto const value = static_cast<unsigned char>(byte);
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
  }
  return text;
}

}  // namespace

// Notes lie one behind the other: a header, a name, a description, each filled up to 4 bytes.
std::string buildIdAmong(std::string_view notes) {
  auto const aligned = [](std::size_t at) { return (at + 3) & ~std::size_t{3}; };
  constexpr std::string_view kOwner{ELF_NOTE_GNU, sizeof ELF_NOTE_GNU};
  Elf64_Nhdr header;
  for (std::size_t at = 0; at < notes.size() && notes.size() - at >= sizeof header;) {
    std::memcpy(&header, notes.data() + at, sizeof header);
    std::size_t const name = at + sizeof header;
    std::size_t const description = at + aligned(sizeof header + header.n_namesz);
    if (description + header.n_descsz > notes.size()) break;
    if (header.n_type == NT_GNU_BUILD_ID && notes.substr(name, header.n_namesz) == kOwner) {
      return hexadecimal(notes.substr(description, header.n_descsz));
    }
    at = aligned(description + header.n_descsz);
  }
  return {};
}

std::string debugFileOf(std::string const& buildId) {
  if (buildId.size() <= 2) return {};
  return "/usr/lib/debug/.build-id/" + buildId.substr(0, 2) + '/' + buildId.substr(2) + ".debug";
}
