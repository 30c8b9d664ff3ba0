#include "DebugFiles.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "BuildId.h"

namespace {

constexpr char const* kCLibrary = "libc.so.6";

// They come with the C library and are loaded here for their debug information only.
constexpr char const* kItsOtherLibraries[] = {"libm.so.6",      "libmvec.so.1",      "libnsl.so.1",
                                              "libresolv.so.2", "libthread_db.so.1", "librt.so.1"};

int addObject(dl_phdr_info* object, std::size_t, void* files) {
  std::string const name = object->dlpi_name;
  for (auto* part = object->dlpi_phdr; part != object->dlpi_phdr + object->dlpi_phnum; ++part) {
    if (part->p_type != PT_NOTE) continue;
    auto const* notes = reinterpret_cast<char const*>(object->dlpi_addr + part->p_vaddr);
    std::string path = debugFileOf(buildIdAmong({notes, part->p_memsz}));
    if (path.empty()) continue;
    static_cast<std::vector<DebugFile>*>(files)->push_back(
        {name.substr(name.rfind('/') + 1), std::move(path)});
  }
  return 0;  // go on
}

std::vector<DebugFile> wantedFiles() {
  struct Unload {
    void operator()(void* library) const { ::dlclose(library); }
  };
  std::vector<std::unique_ptr<void, Unload>> loaded;
  for (auto* name : kItsOtherLibraries) loaded.emplace_back(::dlopen(name, RTLD_LAZY));
  std::vector<DebugFile> files;
  ::dl_iterate_phdr(addObject, &files);
  return files;
}

}  // namespace

std::vector<DebugFile> debugFilesOfThisProcess() {
  std::vector<DebugFile> files = wantedFiles();
  std::erase_if(files, [](DebugFile const& file) {
    bool const isThere = ::access(file.path.c_str(), R_OK) == 0;
    if (!isThere && file.library == kCLibrary) {
      throw std::runtime_error("no debug information of this process's C library, " + file.path +
                               ": install the package libc6-dbg of the same version as libc6");
    }
    return !isThere;
  });
  return files;
}
