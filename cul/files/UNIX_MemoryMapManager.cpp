#include "cul/files/UNIX_MemoryMapManager.h"

#include <limits>
#include <memory>
#include <utility>

#include "cul/base/Append.h"
#include "cul/files/PageSize.h"
#include "cul/files/UNIX_MemoryMap.h"

namespace {

// Whether a mapping can hold the range: its length has 32 bits, and what lies before the range in
// its first page is part of it.
bool isMappable(long offset, unsigned int length) {
  if (offset < 0) return false;
  long const slack = offset % pageSize();
  return slack + long{length} <= long{std::numeric_limits<unsigned int>::max()} &&
         offset <= std::numeric_limits<long>::max() - long{length};
}

}  // namespace

UNIX_MemoryMapManager::UNIX_MemoryMapManager() : maps(0) {}

UNIX_MemoryMapManager::~UNIX_MemoryMapManager() { maps.deleteElements(); }

void* UNIX_MemoryMapManager::createMap(long offset, unsigned int length, int fd) {
  if (fd == -1 || !isMappable(offset, length)) return nullptr;
  auto const at = [offset](UNIX_MemoryMap const& map) {
    return static_cast<char*>(map.address) + (offset - map.fileOffset);
  };
  for (unsigned int i = maps.count(); i-- > 0;) {
    UNIX_MemoryMap& map = *maps[i];
    int const held = map.contains(offset, length, fd);
    if (held == 0) continue;
    if (held != 1) return nullptr;
    ++map.refCount;
    return at(map);
  }
  auto map = std::make_unique<UNIX_MemoryMap>(fd, offset, length);
  if (map->address == nullptr) return nullptr;
  return at(*append(maps, std::move(map)));
}

void UNIX_MemoryMapManager::removeMap(void* address) {
  for (unsigned int i = maps.count(); i-- > 0;) {
    UNIX_MemoryMap& map = *maps[i];
    auto const* const begin = static_cast<char const*>(map.address);
    auto const* const byte = static_cast<char const*>(address);
    if (byte < begin || byte >= begin + map.length) continue;
    if (--map.refCount == 0) delete maps.remove(i);
    return;
  }
}

unsigned int UNIX_MemoryMapManager::numberOfMaps() const { return maps.count(); }

CUL_File::MemoryMapManager* CUL_File::MemoryMapManager::create() {
  return new UNIX_MemoryMapManager;
}
