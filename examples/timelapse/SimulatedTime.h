#pragma once

#include <ctime>
#include <functional>

/// The time of this program, which passes when a dispatcher sleeps and at no other moment. It
/// stands in front of the companion's clock and of time(2), and a dispatcher's sleep ends at once
/// with the clock put forward. So days pass in a moment, and each run is like the other.
/// For one thread.
namespace SimulatedTime {

/// Microseconds since the start.
unsigned long now();

/// The time of day, as time(2) gives it, so many seconds after the start, or before it.
std::time_t timeOfDay(long seconds);

/// Has `act` called so many seconds after the start, in the middle of a sleep.
void schedule(long seconds, std::function<void()> act);

}  // namespace SimulatedTime
