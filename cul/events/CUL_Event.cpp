#include "cul/events/CUL_Event.h"

CUL_Event::CUL_Event() noexcept : tag(this), purged(false), isTimer(false) {}

CUL_Event::~CUL_Event() = default;
