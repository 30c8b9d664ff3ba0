#include "cul/events/CUL_EventDispatcher.h"

CUL_EventDispatcher::CUL_EventDispatcher(char const* name, unsigned char n, unsigned int stackSize)
    : EventDispatcherBase(n), StdThread(name, stackSize, nullptr) {
  start_thread(0);
}

CUL_EventDispatcher::~CUL_EventDispatcher() = default;

void CUL_EventDispatcher::run() { dispatchLoop(); }
