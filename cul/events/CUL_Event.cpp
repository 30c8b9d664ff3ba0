#include "cul/events/CUL_Event.h"

CUL_Event::~CUL_Event() = default;
