#include "tests/sweep/Plan.h"

#include <algorithm>
#include <cerrno>

namespace {

using Errors = std::vector<int>;

std::vector<Kind> const& kinds() {
  Errors const ofPaths = {ENOENT, EACCES, ENOTDIR, ELOOP, ENAMETOOLONG, EIO, ENOMEM};
  Errors const ofOpen = {ENOENT, EACCES, EMFILE, ENFILE, ENOTDIR, EISDIR, ELOOP,
                         ENOSPC, EROFS,  EINTR,  ENXIO,  ENOMEM,  EPERM,  EIO};
  Errors const ofUnlink = {EACCES, EPERM, EBUSY, EROFS, EISDIR, ENOENT, EIO};
  Errors const ofClose = {EIO, EINTR, ENOSPC, EDQUOT};
  Errors const ofTransfer = {EIO, EINTR, EAGAIN, EINVAL, ENOSPC, EDQUOT, EFBIG, EPIPE};
  Errors const ofFolder = {ENOENT, EACCES, EMFILE, ENFILE, ENOTDIR, ENOMEM};
  Fate const odd = {Fate::kOdd};
  static auto const& all = *new std::vector<Kind>{
      {"open", ofOpen},
      {"openat", ofOpen},
      {"read", ofTransfer, {}, Fate::kFails, true},
      {"write", ofTransfer, {}, Fate::kFails, true},
      {"lseek", {EINVAL, EOVERFLOW, ESPIPE, ENXIO}, odd},
      {"fstat", ofPaths, odd},
      {"stat", ofPaths},
      {"fstatat", ofPaths},
      {"faccessat", ofPaths},
      {"unlink", ofUnlink},
      {"unlinkat", ofUnlink},
      {"futimens", {EIO, EACCES, EPERM, EROFS}},
      {"mkdir", {EACCES, EEXIST, ENOSPC, EROFS, EMLINK, EDQUOT, EIO}, {Fate::kFailsBehind, EEXIST}},
      {"opendir", ofFolder},
      {"fdopendir", ofFolder},
      {"readdir", {EIO, EBADF, EOVERFLOW}, odd},
      {"getcwd", {ENOENT, EACCES, ERANGE, ENOMEM}, odd},
      {"getpwuid_r", {EIO, EINTR, EMFILE, ENOENT, ERANGE}, odd},
      {"mmap", {ENOMEM, EACCES, EAGAIN, ENODEV, EINVAL}},
      {"pthread_create", {EAGAIN, EINVAL, EPERM}},
      {"time", {}, odd},
      // What these are to give up is gone in any case.
      {"close", ofClose, {}, Fate::kFailsBehind},
      {"closedir", ofClose, {}, Fate::kFailsBehind},
      {"munmap", {ENOMEM, EINVAL}, {}, Fate::kFailsBehind},
      {"new", {ENOMEM}},
  };
  return all;
}

}  // namespace

Kind const& kindOf(std::string const& call) {
  return *std::find_if(kinds().begin(), kinds().end(),
                       [&](Kind const& kind) { return kind.call == call; });
}

std::string Seen::ending() const {
  if (way == Fate::kOdd) return call + ":odd";
  if (error != 0) return call;
  bool const less = kindOf(call).moves && moved < asked;
  return less ? call + (moved == 0 ? ":none" : ":part") : "+" + call;
}

Fate Plan::before(Call const& call) {
  auto const point = static_cast<unsigned int>(seen.size()) + 1;
  Kind const& kind = kindOf(call.name);
  if (onPoint && !kind.isNew()) onPoint(point, false);
  for (auto const& fault : faults) {
    if (fault.point == point) return fault.fate;
    if (!fault.onwards || point < fault.point) continue;
    Kind const& first = kindOf(seen[fault.point - 1].call);
    if (first.isNew() != kind.isNew() || kind.errors.empty()) continue;
    return kind.failure(&first == &kind ? fault.fate.error : kind.errors[0]);
  }
  return {};
}

void Plan::after(Call const& call, Fate const& fate, End const& end) {
  std::string const name = call.name;
  seen.push_back(
      {name, call.path == nullptr ? "" : call.path, fate.way, end.error, call.bytes, end.moved});
  if (name == "mmap" && end.error == 0) mapped += static_cast<long>(call.bytes);
  if (name == "munmap") mapped -= static_cast<long>(call.bytes);
  if (name == "close" && fate.way == Fate::kMade && end.error == EBADF) ++badCloses;
  if ((name == "open" || name == "openat") && end.error == 0) {
    inheritable += (call.flags & O_CLOEXEC) == 0;
  }
  if (onPoint && name != "new") onPoint(static_cast<unsigned int>(seen.size()), true);
}

std::string Plan::description() const {
  std::string text;
  for (auto const& [point, fate, onwards] : faults) {
    text += "; from " + std::to_string(point) + (onwards ? " on" : " once") + " way " +
            std::to_string(fate.way) + " errno " + std::to_string(fate.error);
  }
  text += "; calls:";
  for (auto const& each : seen) text += " " + each.ending();
  return text;
}
