#pragma once

#include "cul/base/Export.h"
#include "quonutil/digest/MD5.h"
#include "quonutil/names/FileName.h"
#include "quonutil/text/ByteString.h"
#include "quonutil/text/EncodedString.h"

/// The user's cache of debug-information files.
///
/// A copy is one flat file in the cache directory: raw content, named by the short name of the file
/// whose content it is, followed by "." and the content's MD5 text when a digest is given.
///
/// Where the cache lies, how long an unread copy may stay and whether it starts empty comes from
/// the cache parameter of this run (DebuggerParameters) or, when that is empty, from the stored
/// setting (DebuggerSettings): directory[:hours[:flush|noflush]].
///
/// No operation throws on a file-system failure and none returns an error code: it writes a trace
/// line and gives an empty or null result. std::bad_alloc passes, with nothing left open. Nothing
/// is locked: the operations may run on any threads at once and share only the file system. Two
/// writers of one copy are not kept apart, and a reader beside a writer can see a shorter file.
class CUL_EXPORT DbgCache {
 public:
  /// Asks readFile for everything from the offset to the end.
  static constexpr unsigned int kToTheEnd = 0xFFFFFFFF;

  /// Reads `size` bytes from byte `offset` of a copy with one read(2). The result holds exactly
  /// `size` bytes and is the caller's to delete; null on any failure, also when the copy has no
  /// byte at `offset`: an empty copy can be stored, but not read. The digest only names the copy;
  /// the bytes are not held against it.
  virtual ByteString* readFile(FileName const& file, MD5 const* digest, unsigned int offset,
                               unsigned int size) = 0;

  /// Stores `content` as the copy for `file` and `digest` with one write(2), in place of an
  /// earlier one. A new copy is its owner's alone (0600); either way it counts as accessed just
  /// now, and a link that stands there is followed (write(2) into a FIFO that nobody reads any more
  /// raises SIGPIPE). A copy that cannot be written whole does not stay; without a digest, the
  /// copies of that name with a digest go with it.
  virtual void addFile(ByteString const& content, FileName const& file, MD5 const* digest) = 0;

  /// With a digest, removes that copy. With null, removes every copy whose name matches the text
  /// of `file` followed by ".*" as an fnmatch(3) pattern: give it the bare name.
  virtual void remove(FileName const& file, MD5 const* digest) = 0;

  /// Removes every entry of the cache directory that is no directory and was last accessed more
  /// than `hours` hours ago; 0 clears the cache of all that was not accessed within this second.
  /// The limit in seconds is held in 32 bits: 1,193,047 hours are 1,904 seconds. Access time
  /// decides, and a link is judged by what it points to.
  virtual void remove(unsigned int hours) = 0;

  /// The path of the copy for `file` and `digest` when an entry of that name exists, else an empty
  /// text. A dangling link is no entry.
  virtual EncodedString actualName(FileName const& file, MD5 const* digest) const = 0;

  /// The process's one cache, made at the first call and never destroyed. The first call must be
  /// over before another thread makes one. A constructor that throws leaves nothing behind, and
  /// the next call tries again.
  static DbgCache* instance();

  /// A copy's file name, without the directory. `digest` may be null.
  static EncodedString makeFileName(FileName const& file, MD5 const* digest);

  /// Reads the cache parameter, whose fields `separator` sets apart. Sets `flush`, sets expiryHours
  /// when the text has hours other than 0, and returns the directory field, which may be empty.
  EncodedString getCacheParameter(bool& flush, char separator);

  /// Starts the cache's tidying, once, on the calling thread.
  ///
  /// Writes the complete parameter back into the setting, so that a later run without one finds
  /// this cache again. A directory that contains the separator is left out of it: that can only be
  /// the default, which an empty field means, and a cut path would name somebody else's directory.
  ///
  /// Then removes what is older than expiryHours, or clears the cache when `flush` is true, and
  /// posts a timer to CUL_Dispatcher::instance() that removes by age after half an hour and again
  /// about every 36 minutes, as long as some thread runs that dispatcher. The timers keep 16 bits
  /// of the hours: 65,536 are 0 there.
  void startRemovalTimer(bool flush, char separator);

 protected:
  DbgCache();
  DbgCache(DbgCache const&) = delete;
  DbgCache& operator=(DbgCache const&) = delete;
  ~DbgCache();  // not virtual: the one object is never destroyed

  EncodedString cacheDirectory;  ///< ends in "/"; empty when the cache is unusable
  EncodedString spareText1;      ///< empty; for the engine
  EncodedString spareText2;      ///< empty; for the engine
  unsigned int expiryHours;      ///< how long an unread copy may stay; 48 at first
};
