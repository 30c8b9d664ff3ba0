#pragma once

#include "cul/files/CUL_File.h"
#include "tests/support/Prelude.h"

/// A file whose fields may be seen.
class TestFile : public CUL_File {
 public:
  explicit TestFile(std::string const& path, int descriptor = -1)
      : CUL_File(fileName(path), descriptor) {}

  using CUL_File::fd;
  using CUL_File::mapManager;
  using CUL_File::position;
  using CUL_File::readFlag;

  unsigned int maps() const { return mapManager == nullptr ? 0 : mapManager->numberOfMaps(); }
};
