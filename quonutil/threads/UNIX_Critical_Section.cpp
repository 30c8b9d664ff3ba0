#include "quonutil/threads/UNIX_Critical_Section.h"

#include "quonutil/threads/LateWake.h"

void UNIX_Critical_Section::request(char const* label, unsigned int line) noexcept {
  mutex_.request();
  LateWake::lockTaken();
  holder_ = label;
  holderLine_ = line;
}

void UNIX_Critical_Section::release(char const* /*label*/, unsigned int /*line*/) noexcept {
  mutex_.release();
  LateWake::lockReleased();
}
