#pragma once

#include <sys/stat.h>

#include "cul/base/Export.h"
#include "quonutil/names/FileName.h"
#include "quonutil/names/TimeDateStamp.h"
#include "quonutil/text/ByteString.h"
#include "quonutil/text/EncodedString.h"

/// The operating system's calls as the engine makes them.
///
/// Each operation makes exactly one POSIX call of its name: nothing is retried, and a short
/// transfer is handed on as it is. An operation that gives a status returns 0 when the call
/// succeeded and 1 when it failed, traces and throws nothing, and leaves errno as the call set it.
/// A failed one changes no argument unless its comment says so. Texts go out in the system's
/// encoding and come back in it. Any thread may call anything here; getenv takes no lock.
class CUL_EXPORT CUL_Api {
 public:
  /// Where a seek counts from. Any other value counts from the start.
  enum Whence : int {
    kFromStart = 0,
    kFromCurrent = 1,
    kFromEnd = 2,
  };

  /// open(2), read-only and with no other flag: children inherit the descriptor, and a FIFO blocks
  /// until it has a writer. Sets `fd` either way, to -1 on failure. Status.
  static int open(EncodedString const& path, int& fd);

  /// close(2). Status.
  static int close(int fd);

  /// One read(2) of up to `size` bytes. Sets `count` either way to what it returned: the bytes
  /// read, 0 at the end, -1 on failure. One call moves at most 2,147,479,552 bytes. Status.
  static int read(int fd, void* buf, unsigned int size, int& count);

  /// Reads a whole file with one read(2). Status.
  ///
  /// 0: `content` holds the file and `stamp` its modification time.
  /// 1, and both unchanged: the file cannot be opened or examined, or has 2^32 bytes or more.
  /// 1, and `stamp` unchanged: fewer bytes came than the file had; `content` has the length that
  /// the file had, with blanks behind the bytes that came.
  /// errno tells why a call failed; it tells nothing of a file that is too large or came short.
  /// `compare` is not consulted on this platform. Throws std::bad_alloc, with both unchanged.
  static int read(FileName const& name, ByteString& content, TimeDateStamp& stamp,
                  ByteString const* compare);

  /// One write(2). Returns the bytes written, which may be fewer than `size`; one call moves at
  /// most 2,147,479,552. Throws UNIX_ApiFailure (kErrno) on failure.
  static int write(int fd, void const* buf, unsigned int size);

  /// lseek(2). Sets `offset` either way, to the position from the start in bytes or to -1. Status.
  static int lseek(int fd, long& offset, long distance, Whence whence);

  /// fstat(2). Status.
  static int fstat(int fd, struct stat* buf);

  /// The file's size in bytes, by fstat(2). Status.
  static int filesize(int fd, long& size);

  /// Looks `name` up along `path` as FileName::findFile does. `found` becomes what it gives, the
  /// empty name included. Returns 0 when something was found, else 1.
  static int findFile(FileName const& name, EncodedString const& path, FileName& found);

  /// getenv(3). Returns 0 and sets `value` when the variable is set, be it to nothing; else 1.
  static int getenv(EncodedString const& name, EncodedString& value);

  /// getpid(2).
  static int getpid();
  /// getpid(2). Status.
  static int getpid(int& pid);
};
