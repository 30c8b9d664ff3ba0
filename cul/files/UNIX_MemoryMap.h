#pragma once

#include "cul/base/Export.h"

/// One mapping of a file, for reading. Whole pages are mapped from the one that holds the first
/// byte; the length is counted to the byte.
class CUL_EXPORT UNIX_MemoryMap {
 public:
  /// Maps `length` bytes from byte `offset`, which is not negative, with one mmap(2). `length` and
  /// what lies before `offset` in its page are less than 2^32 bytes together.
  UNIX_MemoryMap(int fd, long offset, unsigned long length);
  UNIX_MemoryMap(UNIX_MemoryMap const&) = delete;
  UNIX_MemoryMap& operator=(UNIX_MemoryMap const&) = delete;
  /// munmap(2).
  ~UNIX_MemoryMap();

  /// How `size` bytes from byte `offset` of the file behind `descriptor` lie to the mapping: 0
  /// outside of it, 1 wholly in it, 2 in it only in part.
  int contains(long offset, unsigned int size, int descriptor) const {
    if (descriptor != fd) return 0;
    long const end = offset + long{size};
    long const ownEnd = fileOffset + long{length};
    if (fileOffset >= end || ownEnd <= offset) return 0;
    return fileOffset <= offset && end <= ownEnd ? 1 : 2;
  }

 protected:
  friend class UNIX_MemoryMapManager;

  long fileOffset;        ///< of the first byte mapped; a multiple of the page size
  void* address;          ///< null when the system refused
  unsigned int length;    ///< bytes mapped; 0 when the system refused
  unsigned int refCount;  ///< uses that were not given back yet
  int fd;                 ///< that it was mapped from; -1 when the system refused
};
