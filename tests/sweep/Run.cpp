#include "tests/sweep/Scenario.h"

#include <fnmatch.h>

namespace fs = std::filesystem;

namespace {

bool isTransfer(Call const& call) { return call.name == "read" || call.name == "write"; }

void take(void*, char const* line, unsigned int length) {
  auto* const run = static_cast<Run*>(CallWatch::current);
  if (run == nullptr) return;
  Watching const nobody(nullptr);
  run->lines += run->world.shortened(withoutNumber(line, length)) + "\n";
}

}  // namespace

bool fits(std::string const& pattern, std::string const& text) {
  return ::fnmatch(pattern.c_str(), text.c_str(), FNM_EXTMATCH) == 0;
}

std::string contentIn(Files const& files, std::string const& name) {
  auto const found = files.find(name);
  return found == files.end() ? kGone : found->second;
}

World::World(Files files) : original(std::move(files)) {
  original["outside"] = "outside";
  fs::create_directory(path(""));
  restore();
}

World::~World() { fs::current_path("/"); }

std::string World::shortened(std::string text) const {
  std::string const place = scratch_.path("world");
  for (std::size_t at; (at = text.find(place)) != std::string::npos;) {
    text.replace(at, place.size(), "~");
  }
  return text;
}

void World::makeOld(std::string const& name) const {
  timespec const times[] = {{1234567, 0}, {1234567, 0}};
  ::utimensat(AT_FDCWD, path(name).c_str(), times, 0);
}

Files World::files() const {
  Files found;
  for (auto const& entry : fs::recursive_directory_iterator(path(""))) {
    std::string const name = entry.path().lexically_relative(path(""));
    found[name] = entry.is_symlink()     ? "@" + fs::read_symlink(entry.path()).string()
                  : entry.is_directory() ? "/"
                  : entry.is_fifo()      ? "|"
                                         : scratch_.read("world/" + name);
    if (name.ends_with("ancient")) makeOld(name);  // reading has made it younger
  }
  return found;
}

// Only what is not as it was.
void World::restore() const {
  fs::current_path(path(""));
  for (auto const& [name, content] : files()) {
    if (contentIn(original, name) != content) fs::remove_all(name);
  }
  for (auto const& [name, content] : original) {
    if (fs::exists(fs::symlink_status(name))) continue;
    if (content == "/") {
      fs::create_directory(name);
    } else if (content[0] == '@') {
      fs::create_symlink(content.substr(1), name);
    } else {
      scratch_.write("world/" + name, content);
    }
    if (name.ends_with("ancient")) makeOld(name);
  }
}

std::vector<Fate> fatesOf(Call const& call) {
  struct Kind {
    char const* calls;
    std::vector<int> errors;
    Fate::Way failing = Fate::kFails;
  };
  static auto const& kinds = *new std::vector<Kind>{
      {" open openat opendir fdopendir stat fstatat mkdir unlink unlinkat ",
       {ENOENT, EACCES, EMFILE, ENOTDIR, ELOOP, ENOSPC, EROFS, EINTR, EPERM, EBUSY, EISDIR, EIO}},
      {" read write lseek fstat futimens ", {EIO, EINTR, EAGAIN, EINVAL, ENOSPC, EDQUOT, EFBIG}},
      {" readdir getcwd getpwuid_r time mmap pthread_create ", {ENOMEM, EAGAIN, ERANGE, EMFILE}},
      // What these are to give up is gone in any case.
      {" close closedir munmap ", {EIO, EINTR, ENOSPC, EDQUOT}, Fate::kFailsBehind},
      {" new ", {ENOMEM}},
  };
  Kind const& kind =
      *std::find_if(kinds.begin(), kinds.end(), [word = " " + call.name + " "](Kind const& each) {
        return std::strstr(each.calls, word.c_str()) != nullptr;
      });
  std::vector<Fate> fates;
  for (int error : kind.errors) fates.push_back({kind.failing, error});
  if (call.name == "mkdir") fates.push_back({Fate::kFailsBehind, EEXIST});  // another was first
  if (call.name == "readdir" || call.name == "getpwuid_r") fates.push_back({Fate::kOdd});
  if (isTransfer(call) && call.asked != 0) {
    for (unsigned long bytes : {0UL, 1UL, call.asked - 1})
      fates.push_back({Fate::kMoves, 0, bytes});
  }
  return fates;
}

std::string endingOf(Call const& call) {
  if (call.fate.way == Fate::kOdd) return call.name + ":odd";
  if (call.error != 0) return call.name;
  if (!isTransfer(call) || call.moved == call.asked) return "+" + call.name;
  return call.name + (call.moved == 0 ? ":none" : ":part");
}

void Run::startTracing() {
  auto& trace = traceImplementation();
  trace.setSink(&take, nullptr);
  for (auto flag : {TraceFlag::detail, TraceFlag::error, TraceFlag::warning, TraceFlag::vkt}) {
    trace.setFlag(flag, true);
  }
}

Fate Run::before(Call const& call) {
  auto const point = static_cast<unsigned int>(calls.size()) + 1;
  if (onPoint && !isNew(call)) onPoint(point);
  for (auto const& fault : faults) {
    if (fault.point == point) return fault.fate;
    if (!fault.onwards || point < fault.point) continue;
    Call const& first = calls[fault.point - 1];
    if (first.name == call.name) return fault.fate;
    if (isNew(first) == isNew(call)) return fatesOf(call).front();
  }
  return {};
}

void Run::after(Call const& call) {
  calls.push_back(call);
  std::string const ending = endingOf(call);
  if (ending == "+mmap") mapped += static_cast<long>(call.asked);
  if (call.name == "munmap") mapped -= static_cast<long>(call.asked);
  badCloses += ending == "close" && call.fate.way == Fate::kMade && call.error == EBADF;
  inheritable += fits("+open?(at)", ending) && (call.flags & O_CLOEXEC) == 0;
}
