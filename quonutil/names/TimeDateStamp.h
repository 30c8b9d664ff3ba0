#pragma once

/// A time as the system stamps files with it: seconds since the Epoch (POSIX), 64 bits, signed.
/// The second before the Epoch stands for a time that is not known.
class TimeDateStamp {
 public:
  static constexpr long kUnknown = -1;

  constexpr TimeDateStamp() noexcept = default;
  constexpr explicit TimeDateStamp(long seconds) noexcept : seconds_(seconds) {}

  constexpr long seconds() const noexcept { return seconds_; }
  constexpr bool isKnown() const noexcept { return seconds_ != kUnknown; }

 private:
  long seconds_ = kUnknown;
};
