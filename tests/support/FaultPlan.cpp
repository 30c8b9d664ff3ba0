#include "tests/support/FaultPlan.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <ctime>

long frozenTime = 0;
char const* passwordHome = nullptr;

namespace {

thread_local FaultPlan* plan = nullptr;

template <class Function>
Function* libraryOwn(char const* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// Makes the call, or does to it what the plan says.
template <class Call>
auto guarded(char const* name, Call call) -> decltype(call()) {
  using Result = decltype(call());
  auto const way = FaultPlan::way(name);
  if (way == FaultPlan::kThrough) return call();
  if (way == FaultPlan::kFailAfter) call();
  errno = FaultPlan::error();
  if constexpr (std::is_pointer_v<Result>)
    return nullptr;
  else
    return static_cast<Result>(-1);
}

// The same for a transfer of `size` bytes.
template <class Call>
ssize_t transfer(char const* name, size_t size, Call call) {
  auto const way = FaultPlan::way(name);
  if (way == FaultPlan::kThrough) return call(size);
  if (way == FaultPlan::kShort) return call(size - 1);
  errno = FaultPlan::error();
  return -1;
}

}  // namespace

FaultPlan::FaultPlan(std::initializer_list<std::string> calls, int nth, int error, Outcome outcome)
    : calls_(calls), left_(nth), error_(error), outcome_(outcome) {
  plan = this;
}

FaultPlan::~FaultPlan() { plan = nullptr; }

int FaultPlan::error() { return plan->error_; }

FaultPlan::Way FaultPlan::way(char const* call) {
  if (plan == nullptr || plan->fired()) return kThrough;
  if (std::find(plan->calls_.begin(), plan->calls_.end(), call) == plan->calls_.end()) {
    return kThrough;
  }
  if (--plan->left_ != 0) return kThrough;
  plan->struck_ = call;
  return plan->outcome_ == kFails ? kFail : plan->outcome_ == kOneShort ? kShort : kFailAfter;
}

extern "C" {

int open(char const* path, int flags, ...) {
  std::va_list values;
  va_start(values, flags);
  mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
  va_end(values);
  return guarded("open", [=] { return libraryOwn<decltype(::open)>("open")(path, flags, mode); });
}

ssize_t read(int fd, void* buffer, size_t size) {
  auto* const own = libraryOwn<decltype(::read)>("read");
  return transfer("read", size, [=](size_t count) { return own(fd, buffer, count); });
}

ssize_t write(int fd, void const* buffer, size_t size) {
  auto* const own = libraryOwn<decltype(::write)>("write");
  return transfer("write", size, [=](size_t count) { return own(fd, buffer, count); });
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  auto* const own = libraryOwn<off_t(int, off_t, int)>("lseek");
  return guarded("lseek", [=] { return own(fd, offset, whence); });
}

int close(int fd) {
  return guarded("close", [=] { return libraryOwn<int(int)>("close")(fd); });
}

int fstat(int fd, struct stat* state) noexcept {
  auto* const own = libraryOwn<int(int, struct stat*)>("fstat");
  return guarded("fstat", [=] { return own(fd, state); });
}

int unlink(char const* path) noexcept {
  return guarded("unlink", [=] { return libraryOwn<int(char const*)>("unlink")(path); });
}

int unlinkat(int directory, char const* path, int flags) noexcept {
  auto* const own = libraryOwn<int(int, char const*, int)>("unlinkat");
  return guarded("unlinkat", [=] { return own(directory, path, flags); });
}

int futimens(int fd, timespec const times[2]) noexcept {
  auto* const own = libraryOwn<int(int, timespec const*)>("futimens");
  return guarded("futimens", [=] { return own(fd, times); });
}

int mkdir(char const* path, mode_t mode) noexcept {
  return guarded("mkdir",
                 [=] { return libraryOwn<int(char const*, mode_t)>("mkdir")(path, mode); });
}

DIR* opendir(char const* path) {
  return guarded("opendir", [=] { return libraryOwn<DIR*(char const*)>("opendir")(path); });
}

time_t time(time_t* out) noexcept {
  if (frozenTime == 0) return libraryOwn<time_t(time_t*)>("time")(out);
  return frozenTime;
}

int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
  auto* const own = libraryOwn<decltype(::getpwuid_r)>("getpwuid_r");
  int const result = own(user, entry, buffer, size, found);
  if (result == 0 && *found != nullptr && passwordHome != nullptr) {
    entry->pw_dir = const_cast<char*>(passwordHome);
  }
  return result;
}

}  // extern "C"
