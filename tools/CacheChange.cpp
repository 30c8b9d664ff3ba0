#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "CacheDirectory.h"
#include "Commands.h"
#include "Report.h"
#include "Text.h"
#include "cul/dbgcache/DbgCacheUnix.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "quonutil/trace/TraceImplementation.h"

namespace {

// As many as 32 bits of seconds hold.
constexpr std::uint32_t kLongestHours = 1'193'046;

// The trace, in which alone the cache tells of its failures.
class TraceLines {
 public:
  TraceLines() {
    traceImplementation().setSink(
        [](void* lines, char const* line, unsigned length) {
          static_cast<TraceLines*>(lines)->lines_.append(line, length).append("\n");
        },
        this);
    for (auto flag : {TraceFlag::error, TraceFlag::vkt}) traceImplementation().setFlag(flag, true);
  }
  TraceLines(TraceLines const&) = delete;
  TraceLines& operator=(TraceLines const&) = delete;
  ~TraceLines() { traceImplementation().setSink(nullptr, nullptr); }

  // Throws what was traced first, if anything was.
  void check() const {
    if (lines_.empty()) return;
    std::string text = lines_.substr(0, lines_.find('\n'));
    char const* const number = std::strstr(text.c_str(), "errno = ");
    int error = 0;
    if (number != nullptr && std::sscanf(number, "errno = %d", &error) == 1 && error != 0) {
      text += std::string(" (") + std::strerror(error) + ')';
    }
    throw Failure(text);
  }

 private:
  std::string lines_;
};

// The cache of the process, made so that it removes nothing. It would take what is older than its
// hours can say, so where there is such a file it is not made.
DbgCache& openCache(Arguments const& arguments, CacheDirectory const& directory) {
  std::string const path = arguments.value("--directory");
  if (path.find(':') != std::string::npos) throw Failure(path + ": a \":\" would cut it short");
  if (!path.empty() && !directory.exists()) throw Failure(path + " is no directory");
  AgeRule const rule(kLongestHours);
  for (auto const& entry : directory.exists() ? directory.entries() : std::vector<Entry>()) {
    if (rule.takes(entry)) throw Failure(entry.file + " is so old that it would be removed");
  }
  DebuggerParameters::instance()->setParm(
      DebuggerParameters::kCacheParameter,
      systemText(path + ':' + std::to_string(kLongestHours) + ":noflush"));
  return *DbgCache::instance();
}

// The entry of that name, or the one copy of a file of that name.
Entry entryOf(CacheDirectory const& directory, std::string const& name) {
  if (name.find('/') != std::string::npos) throw Failure(name + ": no path, but a name in a cache");
  Entry entry = directory.entry(name);
  if (entry.isThere) return entry;
  auto copies = directory.copies();
  std::erase_if(copies, [&](Entry const& copy) { return copy.name != name; });
  if (copies.size() == 1) return copies[0];
  std::string const count = copies.empty() ? "no " : std::to_string(copies.size()) + " copies of ";
  throw Failure(directory.path() + " has " + count + name);
}

std::vector<std::string> namesIn(CacheDirectory const& directory) {
  std::vector<std::string> names;
  for (auto const& entry : directory.entries()) names.push_back(entry.file);
  return names;
}

void remove(Arguments const& arguments, CacheDirectory const& directory) {
  for (auto const& operand : arguments.operands()) {
    if (arguments.has("--copies")) {
      openCache(arguments, directory).remove(fileName(operand), nullptr);
    } else {
      Entry const entry = entryOf(directory, operand);
      DbgCacheUnix::removeFile((directory.path() + entry.file).c_str());
    }
  }
}

ByteString contentToStore(FileName const& file) {
  ByteString content;
  TimeDateStamp stamp;
  errno = 0;
  if (CUL_Api::read(file, content, stamp, nullptr) == 0) return content;
  if (errno != 0) throw systemFailure(bytesOf(file));
  throw Failure(bytesOf(file) + " is too large for the cache, or changes");
}

}  // namespace

bool cacheGet(Arguments const& arguments) {
  constexpr std::uint64_t kPiece = 64 << 20, kEnd = std::uint64_t{1} << 32;
  std::uint64_t const begin = arguments.number("--offset", 0);
  std::uint64_t const size = arguments.number("--size", 0);
  CacheDirectory const directory(arguments.value("--directory"));
  Entry const entry = entryOf(directory, arguments.operands()[0]);
  std::string const& file = entry.file;
  std::uint64_t const end =
      arguments.has("--size") ? begin + size : std::max(entry.size(), begin + 1);
  if (end > kEnd) throw Failure(file + " reaches further than 32 bits");
  TraceLines const trace;
  DbgCache& cache = openCache(arguments, directory);
  for (std::uint64_t at = begin; at < end; at += kPiece) {
    auto const count = static_cast<unsigned>(std::min(kPiece, end - at));
    std::unique_ptr<ByteString> const bytes(
        cache.readFile(fileName(file), nullptr, static_cast<unsigned>(at), count));
    if (bytes == nullptr) trace.check();
    if (bytes == nullptr) throw Failure(file + " cannot be read");
    std::fwrite(bytes->data(), 1, bytes->length(), stdout);
  }
  return true;
}

bool cachePut(Arguments const& arguments) {
  CacheDirectory const directory(arguments.value("--directory"));
  FileName const file = fileName(arguments.operands()[0]);
  FileName const name = arguments.has("--name") ? fileName(arguments.value("--name")) : file;
  if (!name.hasFilePart()) throw Failure(bytesOf(name) + " names no file");
  ByteString const content = contentToStore(file);
  MD5 const computed(content.data(), content.length());
  MD5 const* const digest = arguments.has("--no-digest") ? nullptr : &computed;
  TraceLines const trace;
  DbgCache& cache = openCache(arguments, directory);
  cache.addFile(content, name, digest);
  trace.check();
  EncodedString const path = cache.actualName(name, digest);
  if (path.isEmpty()) throw Failure("the cache has no directory");
  printLines(arguments, "stored", "copy", {bytesOf(path)});
  return true;
}

bool cacheRemove(Arguments const& arguments) {
  CacheDirectory const directory(arguments.value("--directory"));
  TraceLines const trace;
  auto const before = namesIn(directory);
  remove(arguments, directory);
  trace.check();
  auto const after = namesIn(directory);
  std::vector<std::string> removed;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(),
                      std::back_inserter(removed));
  if (removed.empty()) throw Failure("there is nothing of that name");
  printLines(arguments, "removed", "file", removed);
  return true;
}
