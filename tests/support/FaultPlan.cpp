#include "tests/support/FaultPlan.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <ctime>

std::atomic<int> openFlags = 0;
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

// Defines one call, which goes through `guarded` to the C library's own.
#define CUL_GUARD(Result, name, Parameters, ...)                         \
  Result name Parameters {                                               \
    auto* const own = libraryOwn<Result Parameters>(#name);              \
    return guarded(#name, [&]() -> Result { return own(__VA_ARGS__); }); \
  }
#define CUL_GUARD_TRANSFER(name, Buffer)                                                \
  ssize_t name(int fd, Buffer buffer, size_t size) {                                    \
    auto* const own = libraryOwn<ssize_t(int, Buffer, size_t)>(#name);                  \
    return transfer(#name, size, [=](size_t count) { return own(fd, buffer, count); }); \
  }

extern "C" {

int open(char const* path, int flags, ...) {
  std::va_list values;
  va_start(values, flags);
  mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
  va_end(values);
  openFlags = flags;
  return guarded("open", [=] { return libraryOwn<decltype(::open)>("open")(path, flags, mode); });
}

CUL_GUARD_TRANSFER(read, void*)
CUL_GUARD_TRANSFER(write, void const*)
CUL_GUARD(off_t, lseek, (int fd, off_t offset, int whence) noexcept, fd, offset, whence)
CUL_GUARD(int, close, (int fd), fd)
CUL_GUARD(int, fstat, (int fd, struct stat* state) noexcept, fd, state)
CUL_GUARD(int, unlinkat, (int folder, char const* path, int flags) noexcept, folder, path, flags)
CUL_GUARD(int, futimens, (int fd, timespec const* times) noexcept, fd, times)
CUL_GUARD(int, mkdir, (char const* path, mode_t mode) noexcept, path, mode)
CUL_GUARD(DIR*, opendir, (char const* path), path)

time_t time(time_t* out) noexcept {
  return frozenTime != 0 ? frozenTime : libraryOwn<time_t(time_t*)>("time")(out);
}

int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
  auto* const own = libraryOwn<decltype(::getpwuid_r)>("getpwuid_r");
  int const result = own(user, entry, buffer, size, found);
  if (*found != nullptr && passwordHome != nullptr) entry->pw_dir = const_cast<char*>(passwordHome);
  return result;
}

}  // extern "C"
