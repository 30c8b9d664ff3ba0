#include "cul/events/CUL_Dispatcher.h"

#include <memory>

#include "cul/events/CUL_EventDispatcher.h"

namespace {

constexpr unsigned char kLevels = 3;
constexpr unsigned char kAlternateLevels = 1;
constexpr unsigned int kAlternateStack = 1048576;

// Every alternate there ever was: nobody knows when its thread is out of it, so it is not deleted,
// and stays in reach of whoever looks for memory that was lost.
struct Made {
  CUL_EventDispatcher alternate{"DispAlt", kAlternateLevels, kAlternateStack};
  Made* before;
};
Made* lastMade = nullptr;

}  // namespace

CUL_Dispatcher::CUL_Dispatcher() : EventDispatcherBase(kLevels), alternate(nullptr) {}

CUL_Dispatcher::~CUL_Dispatcher() = default;

CUL_Dispatcher* CUL_Dispatcher::instance() {
  static CUL_Dispatcher* const dispatcher = new CUL_Dispatcher;
  return dispatcher;
}

CUL_EventDispatcher* CUL_Dispatcher::makeAlternate() {
  if (alternate == nullptr) {
    lastMade = new Made{.before = lastMade};
    alternate = &lastMade->alternate;
  }
  return alternate;
}

void CUL_Dispatcher::destroy() {
  if (alternate != nullptr) alternate->destroy();
  alternate = nullptr;
  EventDispatcherBase::destroy();
}
