#include "SimulatedTime.h"

#include <map>
#include <utility>

#include "quonutil/threads/ElapsedTime.h"
#include "quonutil/threads/UNIX_Event_Semaphore.h"

namespace {

constexpr unsigned long kSecond = 1'000'000;  // microseconds
constexpr std::time_t kStart = 1'800'000'000;

unsigned long reading = 0;  // of the clock
std::multimap<unsigned long, std::function<void()>> appointments;

void pass(unsigned long microseconds) {
  unsigned long const end = reading + microseconds;
  auto const next = appointments.begin();
  if (next == appointments.end() || next->first > end) {
    reading = end;
    return;
  }
  auto const kept = appointments.extract(next);
  reading = kept.key();
  kept.mapped()();
}

}  // namespace

unsigned long SimulatedTime::now() { return reading; }

std::time_t SimulatedTime::timeOfDay(long seconds) { return kStart + seconds; }

void SimulatedTime::schedule(long seconds, std::function<void()> act) {
  appointments.emplace(static_cast<unsigned long>(seconds) * kSecond, std::move(act));
}

// The linker finds these before the libraries' own.

unsigned long ElapsedTime::now() noexcept { return reading; }

bool UNIX_Event_Semaphore::wait(unsigned long time, WaitTimeScale, bool) noexcept {
  pass(time * 1000);
  return false;
}

extern "C" std::time_t time(std::time_t* out) noexcept {
  std::time_t const result = kStart + static_cast<std::time_t>(reading / kSecond);
  if (out != nullptr) *out = result;
  return result;
}
