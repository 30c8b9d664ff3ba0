#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>

#include "Child.h"
#include "Demo.h"
#include "cul/dbgcache/DbgCache.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned kNobody = 65'534;

// "addFile:123 VKT text" as "addFile VKT text": the number changes with the library's source.
std::string withoutLineNumber(std::string line) {
  auto const colon = std::min(line.find(':'), line.size());
  return line.erase(colon, std::min(line.find(' '), line.size()) - colon);
}

// Runs `act` in a child, which may spoil its user, its limits and its errno. `act` tells whether
// it came to the failure and got the result of one. The dispatch thread has nothing to run and
// does not trace, so it holds no lock that the cache takes in the child.
void provoke(Demo& demo, std::function<bool()> const& act, std::string const& expected) {
  auto const before = everythingAtHome();
  ChildResult const child = inChild([&](int out) {
    bool const failed = act();
    for (auto const& line : demo.trace.take()) ::dprintf(out, "%s\n", line.c_str());
    return failed ? EXIT_SUCCESS : EXIT_FAILURE;
  });
  std::string traced;
  std::istringstream output(child.output);
  for (std::string line; std::getline(output, line);) {
    demo.display.line("trace  %s", line.c_str());
    traced += (traced.empty() ? "" : "; ") + withoutLineNumber(line);
  }
  bool const asExpected = child.status == EXIT_SUCCESS && traced == expected;
  demo.checks.confirm(
      asExpected, asExpected ? "failed and traced as expected" : "failed, and traced: " + expected);
  demo.checks.confirm(everythingAtHome() == before, "the cache holds what it held");
  ++demo.failures;
}

bool becomeNobody() {
  return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
}

void storeWithoutPermission(Demo& demo, Original const& original) {
  bool const isRoot = ::geteuid() == 0;  // whom permissions do not bind
  fs::path const directory = copyOf(original).parent_path();
  demo.display.line("1. User %u stores, but may not write the directory (13 is EACCES):",
                    isRoot ? kNobody : ::geteuid());
  auto const act = [&] {
    bool const ready = isRoot ? becomeNobody() : ::chmod(directory.c_str(), 0500) == 0;
    if (ready) {
      DbgCache::instance()->addFile(original.content, systemText("unwritable"), &original.digest);
    }
    return ready && (isRoot || ::chmod(directory.c_str(), 0700) == 0);
  };
  provoke(demo, act, "addFile VKT ::open failed - errno = 13");
}

void storeTooMuch(Demo& demo, Original const& original) {
  rlim_t const limit = original.content.length() / 2;
  demo.display.line(
      "2. %s bytes are stored where a file may have %s (a short write sets no errno):",
      grouped(original.content.length()).c_str(), grouped(limit).c_str());
  auto const act = [&] {
    rlimit const limits{limit, limit};
    std::signal(SIGXFSZ, SIG_IGN);
    if (::setrlimit(RLIMIT_FSIZE, &limits) != 0) return false;
    errno = 0;
    DbgCache::instance()->addFile(original.content, systemText("too-large"), &original.digest);
    return true;
  };
  provoke(demo, act,
          "addFile VKT ::write failed - errno = " + std::to_string(limit == 0 ? EFBIG : 0));
}

void useVanishedCopy(Demo& demo, Original const& original) {
  demo.display.line("3. A copy vanishes, and is then read and removed (2 is ENOENT):");
  fs::remove(copyOf(original));
  auto const act = [&] {
    auto* const cache = DbgCache::instance();
    std::unique_ptr<ByteString> const bytes(
        cache->readFile(original.name, &original.digest, 0, DbgCache::kToTheEnd));
    cache->remove(original.name, &original.digest);
    return bytes == nullptr;
  };
  provoke(demo, act,
          "readFile VKT ::open failed - errno = 2; remove VKT ::unlink failed - errno = 2");
}

}  // namespace

void provokeFailures(Demo& demo) {
  demo.display.heading("Three failures, and what the trace says of them");
  storeWithoutPermission(demo, demo.originals.front());
  storeTooMuch(demo, demo.originals.front());
  useVanishedCopy(demo, demo.originals.front());
}
