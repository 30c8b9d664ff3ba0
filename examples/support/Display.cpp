#include "Display.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

Display::Display() : terminal_(::isatty(STDOUT_FILENO) == 1) {}

void Display::heading(char const* text) {
  eraseBar();
  std::printf("\n== %s\n", text);
}

void Display::line(char const* format, ...) {
  eraseBar();
  std::fputs("   ", stdout);
  va_list values;
  va_start(values, format);
  std::vprintf(format, values);
  va_end(values);
  std::putchar('\n');
}

void Display::progress(std::size_t done, std::size_t total) {
  constexpr std::size_t kPlaces = 50;
  if (!terminal_ || total == 0) return;
  std::string bar(done * kPlaces / total, '#');
  bar.resize(kPlaces, '.');
  if (bar == bar_) return;
  bar_ = std::move(bar);
  std::printf("\r   [%s]", bar_.c_str());
  std::fflush(stdout);
}

void Display::eraseBar() {
  if (bar_.empty()) return;
  bar_.clear();
  std::fputs("\r\033[K", stdout);
}

std::string humanSize(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  auto size = static_cast<double>(bytes) / 1024;
  char const* unit = "KMGT";
  for (; size >= 1024 && unit[1] != '\0'; ++unit) size /= 1024;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %ciB", size, *unit);
  return text;
}

std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
  return text;
}
