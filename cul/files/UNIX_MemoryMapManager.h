#pragma once

#include "cul/files/CUL_File.h"
#include "quonutil/collections/List.h"

class UNIX_MemoryMap;

/// The mappings of one file by mmap(2). The newest is asked first.
class CUL_EXPORT UNIX_MemoryMapManager : public CUL_File::MemoryMapManager {
 public:
  UNIX_MemoryMapManager();
  ~UNIX_MemoryMapManager() override;

  void* createMap(long offset, unsigned int length, int fd) override;
  void removeMap(void* address) override;
  unsigned int numberOfMaps() const override;

 protected:
  List<UNIX_MemoryMap*> maps;  ///< oldest first; owned
};
