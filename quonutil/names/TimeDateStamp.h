#pragma once

/// A time as the system stamps files with it: seconds since the Epoch (POSIX), 64 bits, signed.
/// The second before the Epoch stands for a time that is not known.
class TimeDateStamp {
 public:
  static constexpr long kUnknown = -1;  ///< not a time

  constexpr TimeDateStamp() noexcept = default;
  /// The time `seconds` after the Epoch.
  constexpr explicit TimeDateStamp(long seconds) noexcept : seconds_(seconds) {}

  /// The seconds since the Epoch, or kUnknown.
  constexpr long seconds() const noexcept { return seconds_; }
  /// False for kUnknown.
  constexpr bool isKnown() const noexcept { return seconds_ != kUnknown; }

 private:
  long seconds_ = kUnknown;
};
