#pragma once

#include <functional>
#include <string>
#include <vector>

/// How a child process ended and what it had to say.
struct ChildResult {
  int status;  ///< its exit status, or -1 when a signal ended it
  std::string output;
};

/// Runs `act` in a child process and waits for its end. What it writes to the descriptor `out` is
/// the output, what it returns the exit status; an exception ends it with 127. Beside other
/// threads only while none of them holds a lock that `act` takes: it stays locked in the child.
ChildResult inChild(std::function<int(int out)> const& act);

/// Runs a program, found along PATH, in the environment of this process but for HOME, and waits
/// for its end. The output is its standard output. One that cannot be started ends with 127.
ChildResult runProgram(std::vector<std::string> words, std::string const& home);
