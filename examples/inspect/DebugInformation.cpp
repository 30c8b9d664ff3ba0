#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "BuildId.h"
#include "Child.h"
#include "ElfFile.h"
#include "Inspect.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/platform/CUL_Api.h"

namespace {

constexpr unsigned kOffset = 4095;  // across the first two pages
constexpr unsigned kLongest = 100'000;

// Stores the file, and reads a range back from the cache and one from the mapping.
bool isKept(ElfFile const& mapped, std::string const& path) {
  FileName const name(systemText(path));
  ByteString content;
  TimeDateStamp stamp;
  if (CUL_Api::read(name, content, stamp, nullptr) != 0) return false;
  if (content.length() <= kOffset) return false;
  MD5 const digest(content.data(), content.length());
  auto* const cache = DbgCache::instance();
  cache->addFile(content, name, &digest);
  unsigned const size = std::min(content.length() - kOffset, kLongest);
  std::unique_ptr<ByteString> const range(cache->readFile(name, &digest, kOffset, size));
  if (range == nullptr || range->length() != size) return false;
  std::string_view const expected = mapped.bytes().substr(kOffset, size);
  std::string const copy = cache->actualName(name, &digest).data();
  return expected == std::string_view(range->text(), size) &&
         runProgram({"cmp", "--", path, copy}, std::getenv("HOME")).status == 0;
}

}  // namespace

void storeDebugInformation(Inspect& inspect, std::vector<Module>& modules) {
  inspect.display.heading("Separate debug information goes into the cache and comes back");
  std::size_t there = 0;
  std::size_t kept = 0;
  for (auto& module : modules) {
    std::string const path = debugFileOf(module.buildId);
    if (path.empty() || ::access(path.c_str(), R_OK) != 0) continue;
    module.debugFile = path;
    ElfFile const file(path);
    ++there;
    inspect.checks.expect(file.buildId() == module.buildId,
                          path + " has the build identifier of " + module.name);
    kept += inspect.checks.expect(isKept(file, path), path + " is kept");
  }
  inspect.checks.confirmAll(kept, there, "copies equal their files, to cmp and to the map");
}
