#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "Child.h"
#include "Demo.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/platform/CUL_Api.h"

Original::Original(DebugFile const& file) : label(file.library), name(systemText(file.path)) {
  TimeDateStamp stamp;
  errno = 0;
  if (CUL_Api::read(name, content, stamp, nullptr) != 0) {
    char const* const why = errno != 0 ? std::strerror(errno) : "too large for one read";
    throw std::runtime_error("cannot read " + file.path + ": " + why);
  }
  if (content.isEmpty()) throw std::runtime_error(file.path + " has no bytes to read back");
  digest.update(content.data(), content.length());
}

std::filesystem::path copyOf(Original const& original) {
  return DbgCache::instance()->actualName(original.name, &original.digest).data();
}

std::set<std::filesystem::path> everythingAtHome() {
  std::filesystem::recursive_directory_iterator const all(std::getenv("HOME"));
  return {begin(all), end(all)};
}

void storeFiles(Demo& demo, std::vector<DebugFile> const& files) {
  demo.display.heading("Each file is stored under its MD5");
  demo.display.line("%-22s %10s  %-32s  %s", "debug information", "size", "MD5", "stored in");
  DbgCache* const cache = DbgCache::instance();
  for (auto const& file : files) {
    demo.display.progress(demo.originals.size(), files.size());
    auto const& original = demo.originals.emplace_back(file);
    auto const start = Clock::now();
    cache->addFile(original.content, original.name, &original.digest);
    double const seconds = secondsSince(start);
    demo.bytes += original.content.length();
    demo.display.line("%-22.22s %10s  %s  %6.1f ms", original.label.c_str(),
                      humanSize(original.content.length()).c_str(), original.digestText().c_str(),
                      1e3 * seconds);
    demo.checks.expect(!copyOf(original).empty(), original.label + " is in the cache");
  }
  demo.display.line("%zu files, %s bytes; the first copy is", files.size(),
                    grouped(demo.bytes).c_str());
  demo.display.line("%s", copyOf(demo.originals.front()).c_str());
  demo.expectNoTrace();
}

void checkDigests(Demo& demo) {
  demo.display.heading("The digests are those of md5sum");
  std::vector<std::string> words{"md5sum", "--"};
  for (auto const& original : demo.originals) words.emplace_back(original.name.data());
  std::istringstream lines(runProgram(words, std::getenv("HOME")).output);
  std::size_t equal = 0;
  for (auto const& original : demo.originals) {
    std::string line;
    std::getline(lines, line);
    if (!line.empty() && line.front() == '\\') line.erase(0, 1);  // the name has escapes
    std::string const theirs = line.substr(0, line.find(' '));
    equal += demo.checks.expect(
        theirs == original.digestText(),
        original.label + " has MD5 " + original.digestText() + ", to md5sum '" + theirs + "'");
  }
  demo.checks.confirmAll(equal, demo.originals.size(), "are equal");
}
