#include "quonutil/threads/UNIX_Critical_Section.h"

void UNIX_Critical_Section::request(char const* label, unsigned int line) noexcept {
  mutex_.request();
  holder_ = label;
  holderLine_ = line;
}

void UNIX_Critical_Section::release(char const* /*label*/, unsigned int /*line*/) noexcept {
  mutex_.release();
}
