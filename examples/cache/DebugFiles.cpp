#include "DebugFiles.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

constexpr char const* kFolder = "/usr/lib/debug/.build-id/";
constexpr char const* kCLibrary = "libc.so.6";

// They come with the C library and are loaded here for their debug information only.
constexpr char const* kItsOtherLibraries[] = {"libm.so.6",      "libmvec.so.1",      "libnsl.so.1",
                                              "libresolv.so.2", "libthread_db.so.1", "librt.so.1"};

std::string pathFor(unsigned char const* identifier, std::size_t count) {
  std::string path = kFolder;
  for (std::size_t i = 0; i < count; ++i) {
    char text[4];
    std::snprintf(text, sizeof text, i == 0 ? "%02x/" : "%02x", identifier[i]);
    path += text;
  }
  return path + ".debug";
}

// Notes lie one behind the other: a header, a name, a description, each filled up to 4 bytes.
std::string pathFromNotes(unsigned char const* notes, std::size_t size) {
  auto const aligned = [](std::size_t at) { return (at + 3) & ~std::size_t{3}; };
  ElfW(Nhdr) header;
  for (std::size_t at = 0; at + sizeof header <= size;) {
    std::memcpy(&header, notes + at, sizeof header);
    std::size_t const name = at + sizeof header;
    std::size_t const description = at + aligned(sizeof header + header.n_namesz);
    if (description + header.n_descsz > size) break;
    if (header.n_type == NT_GNU_BUILD_ID && header.n_namesz == sizeof ELF_NOTE_GNU &&
        std::memcmp(notes + name, ELF_NOTE_GNU, sizeof ELF_NOTE_GNU) == 0) {
      return pathFor(notes + description, header.n_descsz);
    }
    at = aligned(description + header.n_descsz);
  }
  return {};
}

int addObject(dl_phdr_info* object, std::size_t, void* files) {
  std::string const name = object->dlpi_name;
  for (auto* part = object->dlpi_phdr; part != object->dlpi_phdr + object->dlpi_phnum; ++part) {
    if (part->p_type != PT_NOTE) continue;
    auto const* notes = reinterpret_cast<unsigned char const*>(object->dlpi_addr + part->p_vaddr);
    std::string path = pathFromNotes(notes, part->p_memsz);
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
