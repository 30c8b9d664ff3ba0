// Search paths, against a splitter of the C++ library.

#include <sstream>

#include "cul/search/CUL_File_System.h"
#include "fuzz/Harness.h"
#include "quonutil/collections/AutoList.h"

void check(std::string const& bytes) {
  AutoList<FileName*> const names(CUL_File_System::instance()->parseSearchPath(text(bytes)));
  std::istringstream entries(bytes);
  entries.exceptions(std::ios::badbit);  // std::bad_alloc is no end of the bytes
  std::string entry;
  unsigned int i = 0;
  for (; std::getline(entries, entry, ':'); ++i) {
    require(i < names.count() && bytesOf(*names[i]) == entry);
  }
  require(i == names.count());
}
