#pragma once

/// Names a message of a catalog.
struct MsgID {
  unsigned short first = 0;   ///< the message's number within its set
  unsigned short second = 0;  ///< the set's number

  /// Catalogs count sets and messages from 1.
  constexpr bool isValid() const noexcept { return first != 0 && second != 0; }
};
