#pragma once

// What nearly every test needs.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <latch>
#include <memory>
#include <random>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/Scratch.h"
