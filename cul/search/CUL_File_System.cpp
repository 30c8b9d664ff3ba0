#include "cul/search/CUL_File_System.h"

#include <algorithm>
#include <cwchar>
#include <memory>

#include "cul/search/UNIX_File_System.h"
#include "quonutil/collections/AutoList.h"

CUL_File_System::CUL_File_System() : path_separators(L":") {}

CUL_File_System::~CUL_File_System() = default;

CUL_File_System* CUL_File_System::instance() {
  static CUL_File_System* fileSystem = nullptr;
  if (fileSystem == nullptr) fileSystem = new UNIX_File_System;
  return fileSystem;
}

// As CharString::firstToken takes them off one by one, without moving the rest up each time.
List<FileName*> CUL_File_System::parseSearchPath(EncodedString const& text) const {
  CharString wide;
  wide.loadFrom(text.data(), text.length(), EncodedString::kLibraryText);
  wchar_t const* const separatorsEnd = path_separators + std::wcslen(path_separators);
  wchar_t const* const end = wide.data() + wide.length();
  AutoList<FileName*> names;
  for (wchar_t const* next = wide.data(); next < end;) {
    wchar_t const* const stop = std::find_first_of(next, end, path_separators, separatorsEnd);
    CharString token;
    token.assign(next, static_cast<unsigned int>(stop - next));
    auto name = std::make_unique<FileName>(token);
    names.append(name.get());
    static_cast<void>(name.release());
    next = stop + 1;
  }
  return names;
}

void CUL_File_System::set_current_directory(FileName const& directory) {
  current_directory = directory;
}
