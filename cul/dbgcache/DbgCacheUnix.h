#pragma once

#include "cul/dbgcache/DbgCache.h"

/// The cache on a Unix file system. What the operations do: see DbgCache.
///
/// Each failure is one trace line. It names the step that failed and the errno which that left; a
/// transfer that came short leaves 0, and "offset" and "offset+size" leave what was there before:
///
///   operation           flag     line
///   addFile             vkt      addFile VKT <::open or ::write> failed - errno = N
///   readFile            vkt      readFile VKT <::open, ::fstat, offset, offset+size, ::lseek or
///                                ::read> failed - errno = N
///   remove, digest      vkt      remove VKT ::unlink failed - errno = N
///   removeFile          error    removeFile ERROR errno = N when removing file PATH from cache
///                       detail   removeFile ** File PATH removed from cache
///   remove, hours       error    remove ERROR Cannot open directory PATH
///                                remove ERROR Cannot stat file NAME in cache (errno = N)
///                                remove ERROR Cannot remove file NAME from cache (errno = N)
///                       detail   remove ** Removing files in cache directory PATH older than N
///                                hours
///                                remove ** Clearing cache directory PATH
///                                remove ** File NAME removed from cache
///
/// An unusable cache traces "Invalid cache" (addFile and remove under vkt, actualName under error)
/// or "Invalid cache directory" (the removal by age, under error), or nothing (readFile).
class CUL_EXPORT DbgCacheUnix : public DbgCache {
 public:
  /// Chooses the directory. One that the parameter names is taken unchecked, and the removal by age
  /// takes every entry of it that is no directory; a relative one follows the working directory.
  /// Otherwise it is ".vexcorlz/" in the home directory (HOME or, when that is unset or empty, the
  /// password database's), made with permissions 0700 when missing. When there is no such place the
  /// cache is unusable for good: every operation refuses. Nobody asks whose home it is: root with
  /// another user's HOME stores and removes there.
  DbgCacheUnix();

  ByteString* readFile(FileName const& file, MD5 const* digest, unsigned int offset,
                       unsigned int size) override;
  void addFile(ByteString const& content, FileName const& file, MD5 const* digest) override;
  void remove(FileName const& file, MD5 const* digest) override;
  void remove(unsigned int hours) override;
  EncodedString actualName(FileName const& file, MD5 const* digest) const override;

  /// True when `path` names a directory, symbolic links followed.
  static bool dirExists(char const* path);

  /// Removes one file by its path and traces the outcome.
  static void removeFile(char const* path);

 protected:
  ~DbgCacheUnix();

 private:
  EncodedString pathOf(FileName const& file, MD5 const* digest) const;
  void removeMatching(EncodedString const& pattern) const;
};
