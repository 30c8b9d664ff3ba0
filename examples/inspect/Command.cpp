#include "Command.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "Child.h"

std::vector<std::string> linesOf(std::vector<std::string> const& words) {
  ChildResult const result = runProgram(words, std::getenv("HOME"));
  if (result.status != 0) {
    throw std::runtime_error(words.front() + " ended with " + std::to_string(result.status));
  }
  std::vector<std::string> lines;
  std::istringstream output(result.output);
  for (std::string line; std::getline(output, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> linesOfScript(std::string const& script, std::vector<std::string> words) {
  words.insert(words.begin(), {"sh", "-c", script, "sh"});
  return linesOf(words);
}

std::string between(std::string const& line, std::string const& before, std::string const& after) {
  std::size_t const at = line.find(before);
  if (at == std::string::npos) return {};
  std::size_t const start = at + before.size();
  return line.substr(start, line.find(after, start) - start);
}
