#include "tests/support/CallFronts.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <new>
#include <type_traits>

namespace {

// Lets the watch of this thread decide, and makes the call accordingly.
template <class Make>
auto guarded(Make make, char const* name, char const* path = "", unsigned long asked = 0,
             int flags = 0) {
  CallWatch* const watch = CallWatch::current;
  if (watch == nullptr) return make(Fate());
  Watching const nobody(nullptr);
  int const errorBefore = errno;
  Call call{name, path, asked, flags};
  call.fate = watch->before(call);
  errno = 0;
  auto const result = make(call.fate);
  call.error = call.fate.error != 0 ? call.fate.error : errno;
  if constexpr (!std::is_pointer_v<decltype(result)>) {
    call.moved = static_cast<unsigned long>(result);
  }
  watch->after(call);
  errno = call.error != 0 ? call.error : errorBefore;
  return result;
}

std::size_t cut(std::size_t size, Fate const& fate) {
  return fate.way == Fate::kMoves ? fate.bytes : size;
}

// Odd: of a type that the directory does not tell.
dirent* typed(dirent* entry, Fate const& fate) {
  if (fate.way == Fate::kOdd && entry != nullptr) entry->d_type = DT_UNKNOWN;
  return entry;
}

// Odd: nobody knows the user.
int known(int error, passwd* entry, passwd** found, Fate const& fate) {
  errno = 0;  // which a search may leave set
  if (*found != nullptr && passwordHome != nullptr) entry->pw_dir = const_cast<char*>(passwordHome);
  if (fate.way == Fate::kOdd) *found = nullptr;
  return error;
}

}  // namespace

// Defines one call: what it gives when it fails, how it is made with `own` and `fate`, and what of
// it the watch is told. The name in C++ is another one, so that nobody's declaration binds it.
#define CUL_FRONT(Result, name, Parameters, failed, made, ...)                        \
  extern "C" Result front_##name Parameters __asm__(#name);                           \
  Result front_##name Parameters {                                                    \
    [[maybe_unused]] auto const own = [](auto... arguments) {                         \
      using Own = Result Parameters;                                                  \
      static auto* const library = reinterpret_cast<Own*>(::dlsym(RTLD_NEXT, #name)); \
      return library(arguments...);                                                   \
    };                                                                                \
    auto const make = [&](Fate const& fate) -> Result {                               \
      if (fate.way == Fate::kFails) return failed;                                    \
      Result const result = made;                                                     \
      return fate.way == Fate::kFailsBehind ? failed : result;                        \
    };                                                                                \
    return guarded(make, #name __VA_OPT__(, ) __VA_ARGS__);                           \
  }

// The mode, which many a caller leaves out, is passed as if it were always there.
CUL_FRONT(int, open, (char const* path, int flags, mode_t mode), -1, own(path, flags, mode), path,
          0, flags)
CUL_FRONT(int, openat, (int folder, char const* path, int flags, mode_t mode), -1,
          own(folder, path, flags, mode), path, 0, flags)
CUL_FRONT(ssize_t, read, (int fd, void* buffer, size_t size), -1, own(fd, buffer, cut(size, fate)),
          "", size)
CUL_FRONT(ssize_t, write, (int fd, void const* buffer, size_t size), -1,
          own(fd, buffer, cut(size, fate)), "", size)
CUL_FRONT(off_t, lseek, (int fd, off_t offset, int whence), -1, own(fd, offset, whence))
CUL_FRONT(int, close, (int fd), -1, own(fd))
CUL_FRONT(int, unlink, (char const* path), -1, own(path), path)
CUL_FRONT(int, unlinkat, (int folder, char const* path, int flags), -1, own(folder, path, flags),
          path)
CUL_FRONT(int, futimens, (int fd, timespec const* times), -1, own(fd, times))
CUL_FRONT(int, mkdir, (char const* path, mode_t mode), -1, own(path, mode), path)
CUL_FRONT(int, stat, (char const* path, struct stat* state), -1, own(path, state), path)
CUL_FRONT(int, fstatat, (int folder, char const* path, struct stat* state, int flags), -1,
          own(folder, path, state, flags), path)
CUL_FRONT(int, fstat, (int fd, struct stat* state), -1, own(fd, state))
CUL_FRONT(DIR*, opendir, (char const* path), nullptr, own(path), path)
CUL_FRONT(DIR*, fdopendir, (int fd), nullptr, own(fd))
CUL_FRONT(dirent*, readdir, (DIR * stream), nullptr, typed(own(stream), fate))
CUL_FRONT(int, closedir, (DIR * stream), -1, own(stream))
CUL_FRONT(char*, getcwd, (char* buffer, size_t size), nullptr, own(buffer, size))
CUL_FRONT(int, getpwuid_r, (uid_t user, passwd* entry, char* buffer, size_t size, passwd** found),
          fate.error, known(own(user, entry, buffer, size, found), entry, found, fate))
CUL_FRONT(int, pthread_create,
          (pthread_t * thread, pthread_attr_t const* attributes, void* (*start)(void*),
           void* argument),
          fate.error, own(thread, attributes, start, argument))
CUL_FRONT(time_t, time, (time_t * out), -1, frozenTime != 0 ? frozenTime : own(out))

// Straight to the kernel: the thread sanitizer maps memory before any library can be asked.
CUL_FRONT(void*, mmap, (void* at, size_t length, int protection, int flags, int fd, off_t offset),
          MAP_FAILED,
          reinterpret_cast<void*>(::syscall(SYS_mmap, at, length, protection, flags, fd, offset)),
          "", length)
CUL_FRONT(int, munmap, (void* address, size_t length), -1,
          static_cast<int>(::syscall(SYS_munmap, address, length)), "", length)

// Stands in front of each block.
struct alignas(std::max_align_t) Head {
  long counted;
};
void* operator new(std::size_t size) {
  long const counted = CallWatch::current == nullptr ? 0 : static_cast<long>(size) + 1;
  auto const make = [=](Fate const& fate) {
    return fate.way == Fate::kFails ? nullptr : std::malloc(sizeof(Head) + size);
  };
  auto* const head = static_cast<Head*>(guarded(make, "new", "", size));
  if (head == nullptr) throw std::bad_alloc();
  head->counted = counted;
  liveMemory += counted;
  return head + 1;
}
void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  Head* const head = static_cast<Head*>(block) - 1;
  liveMemory -= head->counted;
  std::free(head);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }
