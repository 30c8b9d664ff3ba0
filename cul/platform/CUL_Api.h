#pragma once

#include <sys/stat.h>

#include "cul/base/Export.h"
#include "quonutil/collections/List.h"
#include "quonutil/names/FileName.h"
#include "quonutil/names/TimeDateStamp.h"
#include "quonutil/text/ByteString.h"
#include "quonutil/text/EncodedString.h"

struct EBCDICtable;

/// The operating system's calls as the engine makes them.
///
/// Each operation makes exactly one POSIX call of its name: nothing is retried, and a short
/// transfer is handed on as it is. An operation that gives a status returns 0 when the call
/// succeeded and 1 when it failed, traces and throws nothing, and leaves errno as the call set it.
/// A failed one changes no argument unless its comment says so. Texts go out in the system's
/// encoding and come back in it. Any thread may call anything here; getenv takes no lock.
///
/// An object of this class stands for a platform; localApi() is the one that the process runs on.
class CUL_EXPORT CUL_Api {
 public:
  /// Whose platform an object stands for.
  enum ApiType : int {
    kDefaultApi = 0,
    kLocalApi = 1,
  };

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

  /// Appends the words of `text` to `words`; each is the caller's to delete. Words are separated by
  /// blanks and tabs. Between double quotes everything is part of the word; quoted pieces and bare
  /// ones next to each other are one word, and an open quote reaches to the end. Behind a
  /// backslash, which goes, any character is an ordinary one. An empty word adds nothing.
  static void split(EncodedString const& text, List<EncodedString*>& words);

  /// The platform that the process runs on, made at the first call and never destroyed. That call
  /// must be over before another thread makes one.
  static CUL_Api* localApi();
  /// `api`, or localApi() for null.
  static CUL_Api* defaultApi(CUL_Api* api);

  CUL_Api();
  /// Of `flag`, the lowest bit is kept.
  CUL_Api(ApiType type, int flag);
  CUL_Api(CUL_Api const&) = delete;
  CUL_Api& operator=(CUL_Api const&) = delete;
  virtual ~CUL_Api();

  /// The translation table of an EBCDIC code page, or the store's default when it has none of that
  /// name; see EBCDICtableStore. The table is the store's.
  virtual EBCDICtable const* getEBCDICtable(char const* name) const;

 protected:
  ApiType apiType;            ///< whose platform this object stands for
  unsigned char flag : 1;     ///< the lowest bit of what the constructor was given
  EncodedString versionText;  ///< what the operating system says of itself; empty when unknown
};
