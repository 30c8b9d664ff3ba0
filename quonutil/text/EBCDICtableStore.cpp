#include "quonutil/text/EBCDICtableStore.h"

#include <iconv.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace {

// A table with the 256 bytes converted, or null when the system cannot.
EBCDICtable const* make(char const* codePage) {
  iconv_t const conversion = ::iconv_open("ISO-8859-1", codePage);
  if (reinterpret_cast<std::intptr_t>(conversion) == -1) return nullptr;
  unsigned char all[256];
  for (unsigned int byte = 0; byte < sizeof all; ++byte)
    all[byte] = static_cast<unsigned char>(byte);
  auto table = std::make_unique<EBCDICtable>();
  auto* in = reinterpret_cast<char*>(all);
  auto* out = reinterpret_cast<char*>(table->toLatin1);
  std::size_t inLeft = sizeof all, outLeft = sizeof table->toLatin1;
  std::size_t const result = ::iconv(conversion, &in, &inLeft, &out, &outLeft);
  ::iconv_close(conversion);
  if (result != 0 || inLeft != 0 || outLeft != 0) return nullptr;
  for (unsigned int byte = 0; byte < sizeof all; ++byte) {
    table->fromLatin1[table->toLatin1[byte]] = static_cast<unsigned char>(byte);
  }
  return table.release();
}

}  // namespace

EBCDICtableStore* EBCDICtableStore::instance() {
  static auto* const store = new EBCDICtableStore;
  return store;
}

EBCDICtable const* EBCDICtableStore::find(char const* name) const {
  if (name == nullptr || std::strcmp(name, "037") == 0) {
    static EBCDICtable const* const table = make("IBM037");
    return table;
  }
  if (std::strcmp(name, "1047") == 0) {
    static EBCDICtable const* const table = make("IBM1047");
    return table;
  }
  return nullptr;
}
