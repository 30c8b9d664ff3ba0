#include "tests/support/ThreadFronts.h"

#include <dlfcn.h>

#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/UNIX_Critical_Section.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"

namespace {

// The library's own, which stands behind. A member function takes its object first.
template <class Function>
Function* libraryOwn(char const* mangled) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, mangled));
}

}  // namespace

unsigned long ElapsedTime::now() noexcept {
  if (unsigned long const reading = ThreadFronts::clock) return reading;
  static auto* const own = libraryOwn<unsigned long()>("_ZN11ElapsedTime3nowEv");
  return own();
}

void UNIX_Critical_Section::request(char const* label, unsigned int line) noexcept {
  if (ThreadFronts::onRequest) ThreadFronts::onRequest(label);
  using Request = void(UNIX_Critical_Section*, char const*, unsigned int);
  static auto* const own = libraryOwn<Request>("_ZN21UNIX_Critical_Section7requestEPKcj");
  own(this, label, line);
}

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale scale, bool close) noexcept {
  if (ThreadFronts::onWait) {
    ThreadFronts::onWait(scale == kMilliseconds && !close ? time : 0);
    return false;
  }
  using Wait = bool(UNIX_Event_Semaphore*, unsigned long, WaitTimeScale, bool);
  static auto* const own =
      libraryOwn<Wait>("_ZN20UNIX_Event_Semaphore4waitEmN19CUL_Event_Semaphore13WaitTimeScaleEb");
  return own(this, time, scale, close);
}
