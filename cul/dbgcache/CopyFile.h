#pragma once

#include <memory>

#include "cul/base/Descriptor.h"
#include "quonutil/text/ByteString.h"

// The file of one copy. Each operation gives null, or the name of the step that failed, with errno
// as that left it; a transfer that came short leaves 0.

/// Opens the copy at `path` for writing, empty, and makes it when it is not there.
char const* openNewCopy(char const* path, Descriptor& copy);

/// Writes `content` with one write(2), marks the copy as accessed just now, and closes it.
char const* writeCopy(Descriptor& copy, ByteString const& content);

/// Reads `size` bytes from byte `offset` of the copy at `path` with one read(2). A size of
/// DbgCache::kToTheEnd takes all there is from there on.
char const* readCopy(char const* path, unsigned int offset, unsigned int size,
                     std::unique_ptr<ByteString>& bytes);
