#include "tests/sweep/Plan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

std::vector<int> const kOfPaths = {ENOENT, EACCES, ENOTDIR, ELOOP, ENAMETOOLONG, EIO, ENOMEM};
std::vector<int> const kOfOpen = {ENOENT, EACCES, EMFILE, ENFILE, ENOTDIR, EISDIR, ELOOP,
                                  ENOSPC, EROFS,  EINTR,  ENXIO,  ENOMEM,  EPERM,  EIO};
std::vector<int> const kOfUnlink = {EACCES, EPERM, EBUSY, EROFS, EISDIR, ENOENT, EIO};
std::vector<int> const kOfClose = {EIO, EINTR, ENOSPC, EDQUOT};
std::vector<int> const kOfTransfer = {EIO, EINTR, EAGAIN, EINVAL, ENOSPC, EDQUOT, EFBIG, EPIPE};
std::vector<int> const kOfFolder = {ENOENT, EACCES, EMFILE, ENFILE, ENOTDIR, ENOMEM};

std::vector<Kind> const& kinds() {
  static auto const& all = *new std::vector<Kind>{
      {"open", kOfOpen},
      {"openat", kOfOpen},
      {"read", kOfTransfer, Fate::kFails, true},
      {"write", kOfTransfer, Fate::kFails, true},
      {"lseek", {EINVAL, EOVERFLOW, ESPIPE, ENXIO}, Fate::kFails, false, {{Fate::kOdd}}},
      {"fstat", kOfPaths, Fate::kFails, false, {{Fate::kOdd}}},
      {"stat", kOfPaths},
      {"fstatat", kOfPaths},
      {"faccessat", kOfPaths},
      {"unlink", kOfUnlink},
      {"unlinkat", kOfUnlink},
      {"futimens", {EIO, EACCES, EPERM, EROFS}},
      {"mkdir",
       {EACCES, EEXIST, ENOSPC, EROFS, EMLINK, EDQUOT, EIO},
       Fate::kFails,
       false,
       {{Fate::kFailsBehind, EEXIST}}},
      {"opendir", kOfFolder},
      {"fdopendir", kOfFolder},
      {"readdir", {EIO, EBADF, EOVERFLOW}, Fate::kFails, false, {{Fate::kOdd}}},
      {"getcwd", {ENOENT, EACCES, ERANGE, ENOMEM}, Fate::kFails, false, {{Fate::kOdd}}},
      {"getpwuid_r", {EIO, EINTR, EMFILE, ENOENT, ERANGE}, Fate::kFails, false, {{Fate::kOdd}}},
      {"mmap", {ENOMEM, EACCES, EAGAIN, ENODEV, EINVAL}},
      {"pthread_create", {EAGAIN, EINVAL, EPERM}},
      {"time", {}, Fate::kFails, false, {{Fate::kOdd}}},
      // What these are to give up is gone in any case.
      {"close", kOfClose, Fate::kFailsBehind},
      {"closedir", kOfClose, Fate::kFailsBehind},
      {"munmap", {ENOMEM, EINVAL}, Fate::kFailsBehind},
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
  unsigned int const point = points() + 1;
  if (onPoint) onPoint(point, false);
  bool const isNew = std::strcmp(call.name, "new") == 0;
  for (auto const& fault : faults) {
    if (fault.point == point) return fault.fate;
    if (!fault.onwards || point < fault.point) continue;
    Seen const& first = seen[fault.point - 1];
    Kind const& kind = kindOf(call.name);
    if (first.isNew() != isNew || kind.errors.empty()) continue;
    return kind.failure(first.call == call.name ? fault.fate.error : kind.errors[0]);
  }
  return {};
}

void Plan::after(Call const& call, Fate const& fate, End const& end) {
  seen.push_back({call.name, call.path == nullptr ? "" : call.path, fate.way, end.error, call.bytes,
                  end.moved});
  Seen const& last = seen.back();
  bool const works = end.error == 0;
  if (last.call == "mmap" && works) mapped += static_cast<long>(call.bytes);
  if (last.call == "munmap") mapped -= static_cast<long>(call.bytes);
  if (last.call == "close" && fate.way == Fate::kMade && end.error == EBADF) ++badCloses;
  if (last.call.starts_with("open") && last.call != "opendir" && works) {
    inheritable += (call.flags & O_CLOEXEC) == 0;
  }
  if (onPoint) onPoint(points(), true);
}

std::string Plan::description() const {
  std::string text;
  for (auto const& fault : faults) {
    if (fault.point == 0) continue;
    bool const met = fault.point <= points();
    text += "; at " + std::to_string(fault.point) + " " +
            (met ? seen[fault.point - 1].call : std::string("nothing")) + " way " +
            std::to_string(fault.fate.way) + " errno " + std::to_string(fault.fate.error) +
            " bytes " + std::to_string(fault.fate.bytes) + (fault.onwards ? " and on" : "");
  }
  text += "; calls:";
  for (auto const& each : seen) text += " " + each.ending();
  return text;
}
