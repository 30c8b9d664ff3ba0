// soak ROUNDS: four processes share one cache. In each round three of them store, read and remove
// at random, while the fourth writes until it is killed in the middle of a write. Whoever reads
// gets a copy or the beginning of one, never anything else, and what is left can be read.
#include <sched.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include "cul/dbgcache/DbgCache.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "tests/support/Scratch.h"

namespace {

constexpr unsigned int kProcesses = 4, kSteps = 40;  // of one process in one round
constexpr unsigned int kLarge = 4 << 20;             // bytes that take a while to write
constexpr unsigned int kSizes[] = {1, 4095, 4096, 70'001, kLarge}, kCopiesEach = std::size(kSizes);

void require(bool holds, char const* statement) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", statement);
  ::_exit(EXIT_FAILURE);
}

template <class Body>
pid_t start(Body body) {
  pid_t const child = ::fork();
  if (child != 0) return child;
  body();
  ::_exit(EXIT_SUCCESS);
}

// A copy that one process stores and all of them read: two writers would not be kept apart.
struct Copy {
  Copy(unsigned int process, unsigned int size)
      : name(fileName("module-" + std::to_string(process))), content(size) {
    std::generate_n(content.data(), size, std::minstd_rand(process + size));
    digest.update(content.data(), size);
  }
  void store() const { DbgCache::instance()->addFile(content, name, &digest); }
  bool read() const {
    std::unique_ptr<ByteString> const bytes(
        DbgCache::instance()->readFile(name, &digest, 0, DbgCache::kToTheEnd));
    if (bytes == nullptr) return false;
    require(bytesOf(content).starts_with(bytesOf(*bytes)), "what is read was stored");
    return true;
  }

  FileName name;
  ByteString content;
  MD5 digest;
};

void work(std::vector<Copy> const& copies, unsigned int process, unsigned int round) {
  std::minstd_rand chance(round * kProcesses + process + 1);
  DbgCache& cache = *DbgCache::instance();
  for (unsigned int step = 0; step < kSteps; ++step) {
    unsigned long const act = chance() % 64;
    Copy const& any = copies[chance() % copies.size()];
    if (act == 0) cache.remove(0U);
    if (act == 1) cache.remove(any.name, nullptr);
    if (act >= 2 && act < 8) cache.remove(any.name, &any.digest);
    if (act >= 8 && act < 24) copies[process * kCopiesEach + chance() % kCopiesEach].store();
    if (act >= 24) any.read();
  }
}

// Has a process write the copy over and over, and kills it as soon as the copy is there in part,
// until one is left that way.
void tear(Copy const& copy, std::string const& path) {
  auto const isTorn = [&path] {
    struct stat state;
    return ::stat(path.c_str(), &state) == 0 && state.st_size != 0 && state.st_size != kLarge;
  };
  for (::unlink(path.c_str()); !isTorn();) {
    pid_t const victim = start([&] {
      for (;;) copy.store();
    });
    while (!isTorn()) ::sched_yield();
    ::kill(victim, SIGKILL);
    ::waitpid(victim, nullptr, 0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  unsigned long const rounds = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
  require(rounds != 0, "ROUNDS is a number");
  Scratch const scratch;
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter,
                                          text(scratch.path()));
  DbgCache& cache = *DbgCache::instance();
  std::vector<Copy> copies;
  for (unsigned int i = 0; i < kProcesses * kCopiesEach; ++i) {
    copies.emplace_back(i / kCopiesEach, kSizes[i % kCopiesEach]);
  }
  for (unsigned int round = 0; round < rounds; ++round) {
    unsigned int const victim = round % kProcesses;
    for (unsigned int process = 0; process < kProcesses; ++process) {
      if (process != victim) start([=, &copies] { work(copies, process, round); });
    }
    Copy const& torn = copies[victim * kCopiesEach + kCopiesEach - 1];
    tear(torn, scratch.path(bytesOf(DbgCache::makeFileName(torn.name, &torn.digest))));
    for (int status; ::wait(&status) > 0;) require(status == 0, "a process ends well");
    for (auto const& copy : copies) {
      bool const isThere = !cache.actualName(copy.name, &copy.digest).isEmpty();
      require(isThere == copy.read(), "what is left can be read");
    }
  }
}
