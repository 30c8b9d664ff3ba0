#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>

#include "CacheDirectory.h"
#include "Commands.h"
#include "Report.h"
#include "Text.h"
#include "cul/dbgcache/DbgCache.h"
#include "quonutil/settings/DebuggerParameters.h"

namespace {

// Reads a cache parameter as the cache does, and is none: it has no directory and does nothing.
class ParameterReader : public DbgCache {
 public:
  explicit ParameterReader(std::string const& parameter) {
    DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter,
                                            systemText(parameter));
    directory = bytesOf(getCacheParameter(flush, ':'));
    hours = expiryHours;
  }
  virtual ~ParameterReader() = default;
  ByteString* readFile(FileName const&, MD5 const*, unsigned, unsigned) override { return nullptr; }
  void addFile(ByteString const&, FileName const&, MD5 const*) override {}
  void remove(FileName const&, MD5 const*) override {}
  void remove(unsigned) override {}
  EncodedString actualName(FileName const&, MD5 const*) const override { return {}; }

  std::string directory;
  std::uint32_t hours = 0;
  bool flush = false;
};

std::string octal(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", mode & 07777U);
  return text;
}

void examineHours(ParameterReader const& parameter, std::string const& text, Findings& findings) {
  std::string const hours = bytesOf(systemText(text).allAfter(':').allBefore(':'));
  std::uint32_t const taken = parameter.hours;
  if (!hours.empty() && hours != std::to_string(taken)) {
    findings.wrong("behind the first \":\" stands \"" + hours + "\", which is taken for " +
                   std::to_string(taken) + " hours");
  }
  if (taken > 0xFFFF) {
    findings.wrong("the timers keep 16 bits of the hours, and take " + std::to_string(taken) +
                   " for " + std::to_string(taken & 0xFFFF));
  }
  std::uint64_t const seconds = std::uint64_t{taken} * 3600;
  if (seconds > 0xFFFFFFFF) {
    findings.wrong("the limit has 32 bits, and wraps to " + grouped(seconds & 0xFFFFFFFF) + " s");
  }
  if (parameter.flush) findings.wrong("\"flush\" is stored: each start clears the cache");
}

void examineDirectory(std::string const& path, bool isDefault, Findings& findings) {
  if (path[0] != '/') findings.note("a relative path: each operation starts from where it runs");
  struct stat state;
  if (::stat(path.c_str(), &state) != 0) {
    std::string const why = std::strerror(errno);
    if (!isDefault) return findings.wrong(why + ", and nothing makes it: nothing will be stored");
    return findings.note(why + "; the first start makes it");
  }
  if (!S_ISDIR(state.st_mode)) findings.wrong("no directory");
  if (state.st_uid != ::geteuid()) {
    findings.wrong("belongs to user " + std::to_string(state.st_uid));
  }
  if ((state.st_mode & 0777) != 0700) {
    findings.wrong("its permissions are " + octal(state.st_mode) + ", not 0700");
  }
}

void examineFileSystem(std::string const& path, std::uint32_t hours, Findings& findings) {
  struct statvfs system;
  if (::statvfs(path.c_str(), &system) != 0) return;
  if ((system.f_flag & ST_RDONLY) != 0) findings.wrong("the file system is read-only");
  if ((system.f_flag & ST_NOATIME) != 0) {
    findings.wrong("the file system keeps no access times: what is read grows old all the same");
  } else if ((system.f_flag & ST_RELATIME) != 0 && hours < 24) {
    findings.wrong("the file system notes accesses once in 24 hours: within " +
                   std::to_string(hours) + " what is read grows old all the same");
  }
}

// A fault that several entries may have.
struct Complaint {
  bool isWrong;
  char const* text;
  std::function<bool(Entry const&)> isTrueOf;
};

bool isFile(Entry const& entry) { return entry.isThere && S_ISREG(entry.state.st_mode); }

std::vector<Complaint> complaints() {
  constexpr std::size_t kLongestName = 255 - 33;  // a digest and its "." come behind it
  return {
      {true, "have no digest in their names: a removal by age takes them, whosever they are",
       [](Entry const& each) { return isFile(each) && each.digest.empty(); }},
      {true, "have names that leave no room for a digest",
       [](Entry const& each) { return each.digest.empty() && each.name.size() > kLongestName; }},
      {true, "belong to another user",
       [](Entry const& each) { return each.isThere && each.state.st_uid != ::geteuid(); }},
      {true, "can be read or written by others",
       [](Entry const& each) { return isFile(each) && (each.state.st_mode & 077) != 0; }},
      {true, "are neither files nor directories",
       [](Entry const& each) { return each.isThere && !isFile(each) && !each.isDirectory(); }},
      {false, "are links to nothing, which stay for ever",
       [](Entry const& each) { return !each.isThere; }},
      {false, "are directories, which stay for ever",
       [](Entry const& each) { return each.isDirectory(); }},
      {false, "are empty: such a copy can be stored, but not read",
       [](Entry const& each) { return isFile(each) && each.size() == 0; }},
      {false, "were last read in the future",
       [rule = AgeRule(0)](Entry const& each) { return isFile(each) && rule.ageOf(each) < 0; }},
  };
}

void examineEntries(std::vector<Entry> const& entries, Findings& findings) {
  for (auto const& [isWrong, text, isTrueOf] : complaints()) {
    auto const first = std::find_if(entries.begin(), entries.end(), isTrueOf);
    if (first == entries.end()) continue;
    auto const count = std::count_if(first, entries.end(), isTrueOf);
    std::string const finding =
        std::to_string(count) + " of the entries " + text + ": " + first->file;
    isWrong ? findings.wrong(finding) : findings.note(finding);
  }
}

}  // namespace

bool cacheDoctor(Arguments const& arguments) {
  if (arguments.has("--parameter") && arguments.has("--directory")) {
    throw WrongUsage("takes --directory or --parameter");
  }
  std::string const text = arguments.value("--parameter") + arguments.value("--directory");
  ParameterReader const parameter(text);
  bool const isDefault = parameter.directory.empty();
  CacheDirectory const cache(parameter.directory);
  Report report;
  report.field("directory", cache.path());
  report.field("hours", Cell::number(parameter.hours));
  report.field("flush", parameter.flush ? "yes" : "no");
  Findings findings(report, {"finding"});
  examineHours(parameter, text, findings);
  examineDirectory(cache.path(), isDefault, findings);
  examineFileSystem(cache.path(), parameter.hours, findings);
  if (cache.exists()) examineEntries(cache.entries(), findings);
  report.print(arguments);
  return findings.wrongs() == 0;
}
