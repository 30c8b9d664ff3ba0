#pragma once

#include <string>
#include <vector>

/// A file of debug information and the library that it describes.
struct DebugFile {
  std::string library;  ///< "libc.so.6"
  std::string path;
};

/// The debug-information files of this process's libraries, the C library's among them, found as
/// a debugger finds them: by the build identifier that each loaded object carries. Throws
/// std::runtime_error, which names the missing package, when the C library's is not there.
std::vector<DebugFile> debugFilesOfThisProcess();
