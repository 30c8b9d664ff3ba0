#include "cul/search/CUL_File_System.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <string>
#include <utility>

#include "cul/base/Append.h"
#include "cul/search/UNIX_File_System.h"
#include "quonutil/collections/AutoList.h"

namespace {

std::string narrow(wchar_t const* ascii) { return {ascii, ascii + std::wcslen(ascii)}; }

}  // namespace

CUL_File_System::CUL_File_System() : path_separators(L":") {}

CUL_File_System::~CUL_File_System() = default;

CUL_File_System* CUL_File_System::instance() {
  static CUL_File_System* fileSystem = nullptr;
  if (fileSystem == nullptr) fileSystem = new UNIX_File_System;
  return fileSystem;
}

// As CharString::firstToken takes them off one by one. Bytes do for separators that are ASCII, as
// no byte of a longer character is: the names need not be decoded, nor the rest moved up each time.
List<FileName*> CUL_File_System::parseSearchPath(EncodedString const& text) const {
  AutoList<FileName*> names;
  std::string const separators = narrow(path_separators);
  char const* const end = text.data() + text.length();
  for (char const* next = text.data(); next < end;) {
    char const* const stop = std::find_first_of(next, end, separators.begin(), separators.end());
    EncodedString entry(next, static_cast<unsigned int>(stop - next), EncodedString::kLibraryText);
    append(names, std::make_unique<FileName>(std::move(entry)));
    next = stop + 1;
  }
  return names;
}

void CUL_File_System::set_current_directory(FileName const& directory) {
  current_directory = directory;
}
