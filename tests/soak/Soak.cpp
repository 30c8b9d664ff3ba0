// soak ROUNDS: four processes share one cache. In each round three of them store, read and remove
// at random, while the fourth writes until it is killed in the middle of a write.
//
// Whoever compares what he read with the digest in its name takes no copy for whole that is not;
// what is left is whole or the beginning of something; and no descriptor stays open.
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "cul/dbgcache/DbgCache.h"
#include "quonutil/settings/DebuggerParameters.h"
#include "tests/support/Scratch.h"

namespace {

constexpr unsigned int kProcesses = 4;
constexpr unsigned int kSteps = 40;       // of one process in one round
constexpr unsigned int kLarge = 4 << 20;  // bytes that take a while to write
constexpr unsigned int kSizes[] = {1, 4095, 4096, 70'001, kLarge};
constexpr unsigned int kCopiesEach = std::size(kSizes);

enum Outcome { kAbsent, kRefused, kWhole };  // of a read that is held against the digest

// What all processes count in: made before there is more than one.
struct Tally {
  std::atomic<unsigned long> stored, removed, reads[kWhole + 1], kills, leftInPart, broken;
};

Tally& tally = *static_cast<Tally*>(
    ::mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

void expect(bool held, std::string const& statement) {
  if (held) return;
  ++tally.broken;
  std::fprintf(stderr, "does not hold: %s\n", statement.c_str());
}

// A copy that one process stores and all of them read: two writers would not be kept apart.
struct Copy {
  Copy(unsigned int process, unsigned int size)
      : name(fileName("module-" + std::to_string(process) + "-" + std::to_string(size))),
        content(size) {
    std::minstd_rand bytes(process + size);
    for (unsigned int i = 0; i < size; ++i) content.data()[i] = static_cast<unsigned char>(bytes());
    digest.update(content.data(), size);
  }
  std::string stored() const { return bytesOf(DbgCache::makeFileName(name, &digest)); }

  FileName name;
  ByteString content;
  MD5 digest;
};

class Soak {
 public:
  Soak() {
    DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter,
                                            text(scratch_.path()));
    for (unsigned int process = 0; process < kProcesses; ++process) {
      for (unsigned int size : kSizes) copies_.emplace_back(process, size);
    }
    cache_ = DbgCache::instance();
  }

  void round(unsigned int number) {
    std::vector<pid_t> others;
    unsigned int const victim = number % kProcesses;
    for (unsigned int process = 0; process < kProcesses; ++process) {
      if (process == victim) continue;
      others.push_back(start([=, this] { work(process, number * kProcesses + process + 1); }));
    }
    tearOne(copies_[victim * kCopiesEach + kCopiesEach - 1]);
    for (pid_t other : others) {
      int status = -1;
      ::waitpid(other, &status, 0);
      expect(status == 0, "a process ends well");
    }
  }

  // Looks at what is left when nobody writes.
  void audit() const {
    std::set<std::string> left = scratch_.names();
    for (auto const& copy : copies_) {
      if (left.erase(copy.stored()) == 0) continue;
      std::string const bytes = scratch_.read(copy.stored());
      bool const isWhole = bytes.size() == copy.content.length();
      expect(bytesOf(copy.content).starts_with(bytes), copy.stored() + " is whole or a beginning");
      expect((read(copy) == kWhole) == isWhole, copy.stored() + " is taken for what it is");
      tally.leftInPart += !isWhole;
    }
    expect(left.empty(), "what is left was stored");
  }

 private:
  template <class Body>
  static pid_t start(Body body) {
    pid_t const child = ::fork();
    if (child != 0) return child;
    body();
    ::_exit(EXIT_SUCCESS);
  }

  // Reads a copy as one does who cannot know whether it is whole.
  Outcome read(Copy const& copy) const {
    Outcome outcome = kAbsent;
    std::unique_ptr<ByteString> const bytes(
        cache_->readFile(copy.name, &copy.digest, 0, DbgCache::kToTheEnd));
    if (bytes != nullptr) {
      MD5 const digest(bytes->data(), bytes->length());
      bool const same =
          digest.asString(MD5::kHexadecimal) == copy.digest.asString(MD5::kHexadecimal);
      expect(!same || bytesOf(*bytes) == bytesOf(copy.content), "who has the digest has the bytes");
      outcome = same ? kWhole : kRefused;
    }
    ++tally.reads[outcome];
    return outcome;
  }

  void store(Copy const& copy) const {
    cache_->addFile(copy.content, copy.name, &copy.digest);
    ++tally.stored;
  }

  void work(unsigned int process, unsigned int seed) const {
    std::minstd_rand chance(seed);
    unsigned int const descriptors = openDescriptors();
    for (unsigned int step = 0; step < kSteps; ++step) {
      unsigned long const act = chance() % 64;
      Copy const& any = copies_[chance() % copies_.size()];
      if (act == 0) cache_->remove(0U);
      if (act == 1) cache_->remove(any.name, nullptr);
      if (act >= 2 && act < 8) cache_->remove(any.name, &any.digest);
      if (act >= 8 && act < 24) store(copies_[process * kCopiesEach + chance() % kCopiesEach]);
      if (act >= 24) read(any);
      tally.removed += act < 8;
    }
    expect(openDescriptors() == descriptors, "a process closes what it opened");
  }

  // Has a process write the copy over and over, and kills it as soon as the copy is there in part,
  // until one is left that way.
  void tearOne(Copy const& copy) const {
    std::string const path = scratch_.path(copy.stored());
    do {
      ::unlink(path.c_str());
      pid_t const victim = start([&] {
        for (;;) store(copy);
      });
      for (struct stat state{}; state.st_size == 0 || state.st_size == kLarge;) {
        if (::stat(path.c_str(), &state) != 0) state.st_size = 0;
        ::sched_yield();
      }
      ::kill(victim, SIGKILL);
      ::waitpid(victim, nullptr, 0);
      ++tally.kills;
    } while (read(copy) != kRefused);
  }

  Scratch scratch_;
  std::vector<Copy> copies_;
  DbgCache* cache_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  unsigned long const rounds = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
  if (rounds == 0) {
    std::fputs("usage: soak ROUNDS\n", stderr);
    return 2;
  }
  Soak soak;
  for (unsigned int number = 0; number < rounds; ++number) {
    soak.round(number);
    soak.audit();
  }
  std::printf(
      "%lu rounds\n%lu stored, %lu removed; %lu read whole, %lu refused, %lu found nothing\n",
      rounds, tally.stored.load(), tally.removed.load(), tally.reads[kWhole].load(),
      tally.reads[kRefused].load(), tally.reads[kAbsent].load());
  std::printf("%lu killed, %lu of them in the middle of a write; %lu left in part\n",
              tally.kills.load(), rounds, tally.leftInPart.load());
  return tally.broken == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
