#pragma once

#include "quonutil/Export.h"

/// Where short-lived byte buffers come from.
///
/// The C++ library's allocator already keeps freed blocks by size and thread, so this stand-in
/// hands requests through to it. Any thread may take a buffer and any thread may give it back.
class QUONUTIL_EXPORT StringPoolManager {
 public:
  /// The process's one manager. It is never destroyed.
  static StringPoolManager* instance();

  /// A buffer of `size` bytes of unspecified contents, aligned for any type. It is the caller's
  /// until given back. Throws std::bad_alloc.
  void* getBuffer(unsigned int size);

  /// Takes back a buffer, with the `size` it was taken with.
  void freeBuffer(void* buffer, unsigned int size) noexcept;
};
