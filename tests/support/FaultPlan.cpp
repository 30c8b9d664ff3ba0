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

namespace {

thread_local FaultPlan* plan = nullptr;

template <class Function>
Function* libraryOwn(char const* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// Makes the call, which leaves so many bytes out, or does to it what the plan says.
template <class Call>
auto guarded(char const* name, Call call) -> decltype(call(0)) {
  auto const [outcome, error] = FaultPlan::strike(name);
  if (outcome == FaultPlan::kSucceeds) return call(0);
  if (outcome == FaultPlan::kOneShort) return call(1);
  if (outcome == FaultPlan::kFailsAfter) call(0);
  errno = error;
  if constexpr (std::is_pointer_v<decltype(call(0))>)
    return nullptr;
  else
    return -1;
}

}  // namespace

FaultPlan::FaultPlan(std::initializer_list<std::string> calls, int nth, int error, Outcome outcome)
    : calls_(calls), left_(nth), error_(error), outcome_(outcome) {
  plan = this;
}

FaultPlan::~FaultPlan() { plan = nullptr; }

std::pair<FaultPlan::Outcome, int> FaultPlan::strike(char const* call) {
  if (plan == nullptr || plan->fired()) return {kSucceeds, 0};
  bool const named = std::count(plan->calls_.begin(), plan->calls_.end(), call) != 0;
  if (!named || --plan->left_ != 0) return {kSucceeds, 0};
  plan->struck_ = call;
  return {plan->outcome_, plan->error_};
}

// Defines one call, which goes through `guarded` to the C library's own. `out` is how many bytes a
// transfer leaves out.
#define CUL_GUARD(Result, name, Parameters, ...)                                          \
  Result name Parameters {                                                                \
    auto* const own = libraryOwn<Result Parameters>(#name);                               \
    return guarded(#name, [&]([[maybe_unused]] size_t out) { return own(__VA_ARGS__); }); \
  }

extern "C" {

int open(char const* path, int flags, ...) {
  std::va_list values;
  va_start(values, flags);
  mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
  va_end(values);
  openFlags = flags;
  auto* const own = libraryOwn<decltype(::open)>("open");
  return guarded("open", [=](size_t) { return own(path, flags, mode); });
}

CUL_GUARD(ssize_t, read, (int fd, void* buffer, size_t size), fd, buffer, size - out)
CUL_GUARD(ssize_t, write, (int fd, void const* buffer, size_t size), fd, buffer, size - out)
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
