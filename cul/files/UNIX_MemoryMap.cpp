#include "cul/files/UNIX_MemoryMap.h"

#include <sys/mman.h>

#include "cul/files/PageSize.h"

UNIX_MemoryMap::UNIX_MemoryMap(int descriptor, long offset, unsigned long size)
    : fileOffset(offset / pageSize() * pageSize()),
      // Counted to the byte, not to the page: it decides whether a later request lies inside.
      length(static_cast<unsigned int>(size + static_cast<unsigned long>(offset - fileOffset))),
      refCount(1),
      fd(descriptor) {
  address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_NORESERVE, fd, fileOffset);
  if (address != MAP_FAILED) return;
  address = nullptr;
  length = 0;
  fd = -1;
}

UNIX_MemoryMap::~UNIX_MemoryMap() {
  if (address != nullptr) ::munmap(address, length);
}
