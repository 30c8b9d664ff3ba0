#include "tests/support/CallFronts.h"

#include <dirent.h>
#include <dlfcn.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <ctime>
#include <type_traits>
#include <utility>

namespace {

template <class Function>
Function* libraryOwn(char const* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// Lets the watch of this thread decide, and makes the call accordingly.
template <class Make>
auto guarded(Call const& call, Make make) -> decltype(make(Fate())) {
  using Result = decltype(make(Fate()));
  CallWatch* const watch = CallWatch::current;
  if (watch == nullptr) return make(Fate());
  Watching const nobody(nullptr);
  int const errorBefore = errno;
  Fate const fate = watch->before(call);
  constexpr auto kFailure = [] {
    if constexpr (std::is_pointer_v<Result>)
      return static_cast<Result>(nullptr);
    else
      return Result{-1};
  }();
  errno = errorBefore;
  Result result = fate.way == Fate::kFails ? kFailure : make(fate);
  if (fate.way == Fate::kFailsBehind) result = kFailure;
  if (fate.error != 0) errno = fate.error;
  int const error = errno;
  bool const failed = result == kFailure && error != 0;
  unsigned long moved = 0;
  if constexpr (!std::is_pointer_v<Result>) moved = static_cast<unsigned long>(result);
  watch->after(call, fate, {failed ? error : 0, moved});
  errno = error;
  return result;
}

// Calls that give the error itself.
template <class Make>
int guardedError(char const* name, Make make) {
  int const errorBefore = errno;
  int const result = guarded({name}, [&](Fate const& fate) {
    int const error = make(fate);
    if (error != 0) errno = error;
    return error == 0 ? 0 : -1;
  });
  return result == 0 ? 0 : std::exchange(errno, errorBefore);
}

// As its caller's own list of arguments begins behind `flags`.
int opened(char const* name, int folder, char const* path, int flags, std::va_list more) {
  static auto* const own = libraryOwn<decltype(::openat)>("openat");
  mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
  return guarded({name, path, 0, flags},
                 [=](Fate const&) { return own(folder, path, flags, mode); });
}

std::size_t cut(std::size_t size, Fate const& fate) {
  return fate.way == Fate::kMoves ? fate.bytes : size;
}

// Odd: a byte longer than it is.
int longer(int result, struct stat* state, Fate const& fate) {
  state->st_size += fate.way == Fate::kOdd;
  return result;
}

}  // namespace

// Defines one call: how it is made with `own` and `fate`, and what of it the watch is told.
#define CUL_FRONT(Result, name, Parameters, made, ...)                       \
  Result name Parameters {                                                   \
    static auto* const own = libraryOwn<Result Parameters>(#name);           \
    return guarded({#name __VA_OPT__(, ) __VA_ARGS__},                       \
                   [&]([[maybe_unused]] Fate const& fate) { return made; }); \
  }

extern "C" {

int open(char const* path, int flags, ...) {
  std::va_list more;
  va_start(more, flags);
  int const fd = opened("open", AT_FDCWD, path, flags, more);
  va_end(more);
  return fd;
}
int openat(int folder, char const* path, int flags, ...) {
  std::va_list more;
  va_start(more, flags);
  int const fd = opened("openat", folder, path, flags, more);
  va_end(more);
  return fd;
}

CUL_FRONT(ssize_t, read, (int fd, void* buffer, size_t size), own(fd, buffer, cut(size, fate)),
          nullptr, size)
CUL_FRONT(ssize_t, write, (int fd, void const* buffer, size_t size),
          own(fd, buffer, cut(size, fate)), nullptr, size)
CUL_FRONT(off_t, lseek, (int fd, off_t offset, int whence) noexcept,
          own(fd, offset, whence) + (fate.way == Fate::kOdd))
CUL_FRONT(int, close, (int fd), own(fd))
CUL_FRONT(int, unlink, (char const* path) noexcept, own(path), path)
CUL_FRONT(int, unlinkat, (int folder, char const* path, int flags) noexcept,
          own(folder, path, flags), path)
CUL_FRONT(int, futimens, (int fd, timespec const* times) noexcept, own(fd, times))
CUL_FRONT(int, mkdir, (char const* path, mode_t mode) noexcept, own(path, mode), path)
CUL_FRONT(int, faccessat, (int folder, char const* path, int mode, int flags) noexcept,
          own(folder, path, mode, flags), path)
CUL_FRONT(DIR*, opendir, (char const* path), own(path), path)
CUL_FRONT(DIR*, fdopendir, (int fd), own(fd))
CUL_FRONT(int, closedir, (DIR * stream), own(stream))
CUL_FRONT(char*, getcwd, (char* buffer, size_t size) noexcept,
          fate.way == Fate::kOdd ? &(*buffer = '\0') : own(buffer, size))

CUL_FRONT(int, fstatat, (int folder, char const* path, struct stat* state, int flags) noexcept,
          own(folder, path, state, flags), path)
CUL_FRONT(int, stat, (char const* path, struct stat* state) noexcept, own(path, state), path)
CUL_FRONT(int, fstat, (int fd, struct stat* state) noexcept, longer(own(fd, state), state, fate))

// Odd: of a type that the directory does not tell. The end is no error.
dirent* readdir(DIR* stream) {
  static auto* const own = libraryOwn<decltype(::readdir)>("readdir");
  int const errorBefore = errno;
  errno = 0;
  dirent* const entry = guarded({"readdir"}, [=](Fate const& fate) {
    dirent* const next = own(stream);
    if (fate.way == Fate::kOdd && next != nullptr) next->d_type = DT_UNKNOWN;
    return next;
  });
  if (errno == 0) errno = errorBefore;
  return entry;
}

// The thread sanitizer maps memory while it starts, when it cannot look at anybody yet.
#define CUL_UNSANITIZED __attribute__((no_sanitize("thread")))

static void* watchedMmap(void* at, size_t length, int protection, int flags, int fd, off_t offset) {
  static auto* const own = libraryOwn<decltype(::mmap)>("mmap");
  void* const address = guarded({"mmap", nullptr, length}, [=](Fate const&) -> void* {
    void* const made = own(at, length, protection, flags, fd, offset);
    return made == MAP_FAILED ? nullptr : made;
  });
  return address == nullptr ? MAP_FAILED : address;
}
CUL_UNSANITIZED void* mmap(void* at, size_t length, int protection, int flags, int fd,
                           off_t offset) noexcept {
  if (CallWatch::current != nullptr) {
    return watchedMmap(at, length, protection, flags, fd, offset);
  }
  return reinterpret_cast<void*>(::syscall(SYS_mmap, at, length, protection, flags, fd, offset));
}

static int watchedMunmap(void* address, size_t length) {
  static auto* const own = libraryOwn<decltype(::munmap)>("munmap");
  return guarded({"munmap", nullptr, length}, [=](Fate const&) { return own(address, length); });
}
CUL_UNSANITIZED int munmap(void* address, size_t length) noexcept {
  if (CallWatch::current != nullptr) return watchedMunmap(address, length);
  return static_cast<int>(::syscall(SYS_munmap, address, length));
}

// Odd: a clock that cannot be read.
CUL_FRONT(time_t, time, (time_t * out) noexcept,
          frozenTime != 0          ? frozenTime
          : fate.way == Fate::kOdd ? -1
                                   : own(out))

// Odd: nobody knows the user.
int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** found) {
  static auto* const own = libraryOwn<decltype(::getpwuid_r)>("getpwuid_r");
  return guardedError("getpwuid_r", [=](Fate const& fate) {
    int const error = own(user, entry, buffer, size, found);
    if (*found != nullptr && passwordHome != nullptr) {
      entry->pw_dir = const_cast<char*>(passwordHome);
    }
    if (fate.way == Fate::kOdd) *found = nullptr;
    return error;
  });
}

int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*start)(void*),
                   void* argument) noexcept {
  static auto* const own = libraryOwn<decltype(::pthread_create)>("pthread_create");
  return guardedError("pthread_create",
                      [=](Fate const&) { return own(thread, attributes, start, argument); });
}

}  // extern "C"
