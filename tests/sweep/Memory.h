#pragma once

/// What watched calls have allocated with operator new and nobody has deleted yet, in all threads.
struct Memory {
  long blocks, bytes;

  static Memory live();
  bool operator==(Memory const&) const = default;
};
