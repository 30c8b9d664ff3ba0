#pragma once

#include <cstdint>
#include <string>

/// What a person sees of a host: headed sections of indented lines, on standard output. On a
/// terminal a bar under them shows how far a long step has come. One thread at a time.
class Display {
 public:
  Display();
  Display(Display const&) = delete;
  Display& operator=(Display const&) = delete;
  ~Display() { eraseBar(); }

  void heading(char const* text);
  void line(char const* format, ...) __attribute__((format(printf, 2, 3)));

  /// Draws the bar, or nothing where standard output is no terminal. The next line erases it.
  void progress(std::size_t done, std::size_t total);

 private:
  void eraseBar();

  bool const terminal_;
  std::string bar_;  // empty when none stands on the screen
};

/// "4.0 MiB"
std::string humanSize(std::uint64_t bytes);

/// "4,166,896"
std::string grouped(std::uint64_t number);
