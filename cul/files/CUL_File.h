#pragma once

#include "cul/base/Export.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/names/FileName.h"
#include "quonutil/names/TimeDateStamp.h"

/// A file by its name, which can be found along a path, opened for reading, read and mapped.
///
///   fd     position
///   -1     -1         closed; no mapping is left
///   open   0 or more  where the descriptor stands, in bytes from the start
///   open   -1         unknown: a seek or a read failed, or the descriptor came from outside
///
/// One thread at a time. Failures are results, and errno stays as the failing call left it; only
/// memory that runs out is an exception.
class CUL_EXPORT CUL_File : public FileName {
 public:
  class MemoryMapManager;

  /// The file called `name`. `fd` is an open descriptor, which is closed with the file, or -1.
  CUL_File(EncodedString const& name, int fd);
  /// The same.
  CUL_File(FileName const& name, int fd);
  CUL_File(CUL_File const&) = delete;
  CUL_File& operator=(CUL_File const&) = delete;
  /// Unmaps what is mapped, and closes.
  ~CUL_File() override;

  /// Opens the file as CUL_Api::open does, at position 0; an open one stays as it is. True when the
  /// file is open afterwards.
  bool open();

  /// Unmaps what is mapped: every address that createMemoryMap gave is invalid. Then closes.
  void close();

  /// Looks the name up along `path` (see FileName::findFile) and takes the name that is found.
  /// 0: found and taken. 1: found, but without a file part, and not taken. -1: not found, or the
  /// file is open, which is not searched for.
  int find(EncodedString const& path);

  /// fstat(2). 0, or -1 on failure and on a closed file.
  int fstat(struct stat& buf) const;

  /// lseek(2). The new position in bytes from the start, or -1 on failure and on a closed file. No
  /// call is made to where the file stands already.
  long lseek(long distance, CUL_Api::Whence whence);

  /// The size in bytes, or -1. A closed file is opened for it and closed again.
  long filesize() const;

  /// Reads up to `size` bytes from byte `at`, or from where the file stands when `at` is -1, with
  /// one read(2). The count, which is 0 at the end and may be short, or -1; a negative size is -1.
  int read(void* buf, int size, long at);
  /// The same into a new content of `out`, exactly the bytes read; unchanged when this gives -1.
  int read(ByteString& out, int size, long at);

  /// The modification time, unknown on failure. A closed file is opened for it and closed again.
  TimeDateStamp timeDateStamp() const;

  /// Maps `length` bytes from byte `offset` for reading. The address of byte `offset`, or null:
  /// on a closed file, for a range that is empty or negative or spans 2^32 bytes with what lies
  /// before it in its first page, for one that an earlier mapping holds only in part, and when the
  /// system refuses. A range that an earlier mapping holds is served from that.
  ///
  /// Give each use back with removeMemoryMap. A byte behind the file's end, also one that was there
  /// when the range was mapped, cannot be read: the process gets SIGBUS.
  void* createMemoryMap(long offset, long length);

  /// Gives one use of the mapping back that holds `address`, any address in it; the last one unmaps
  /// it. 0, or 1 when the file was never mapped since it was opened.
  int removeMemoryMap(void* address);

 protected:
  mutable MemoryMapManager* mapManager;  ///< owned; null until the first mapping is asked for
  mutable long position;                 ///< see above
  mutable int fd;                        ///< see above
  /// For a derived class: while it is not 0, a failed read lowers a known position by one instead
  /// of making it unknown. A successful `open()` clears it.
  mutable unsigned char readFlag;

 private:
  class Opened;
};

/// The mappings of one file.
class CUL_EXPORT CUL_File::MemoryMapManager {
 public:
  MemoryMapManager() = default;
  MemoryMapManager(MemoryMapManager const&) = delete;
  MemoryMapManager& operator=(MemoryMapManager const&) = delete;

  /// The address of byte `offset` of the file, with `length` bytes mapped from there, or null.
  virtual void* createMap(long offset, unsigned int length, int fd) = 0;
  /// Gives one use of the mapping back that holds `address`; none does no harm.
  virtual void removeMap(void* address) = 0;
  /// How many mappings there are; several uses of one are one.
  virtual unsigned int numberOfMaps() const = 0;
  /// Unmaps what is left.
  virtual ~MemoryMapManager();

  /// A new manager of the platform's kind, the caller's to delete.
  static MemoryMapManager* create();
};
