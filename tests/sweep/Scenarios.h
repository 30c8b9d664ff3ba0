#pragma once

#include "cul/events/EventDispatcherBase.h"
#include "tests/dbgcache/TestCache.h"
#include "tests/sweep/Scenario.h"

/// What a dispatcher keeps to itself.
struct Opened : EventDispatcherBase {
  using EventDispatcherBase::_process_event;
  using EventDispatcherBase::_purge;
  using EventDispatcherBase::_waitpop;
  using EventDispatcherBase::pending;
};

/// A cache over the directory of a world, whose own start was over before.
TestCache& cacheOf(World const& world);

/// What its copies are copies of.
inline FileName const& copyFile() {
  static FileName const& name = *new FileName(fileName("main.o"));
  return name;
}
inline MD5 const& copyDigest() {
  static MD5 const& digest = *new MD5("data", 4);
  return digest;
}

std::vector<Scenario> cacheScenarios();
std::vector<Scenario> fileScenarios();
std::vector<Scenario> searchScenarios();
std::vector<Scenario> memoryScenarios();
