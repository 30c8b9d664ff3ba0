#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "Child.h"
#include "Demo.h"
#include "cul/dbgcache/DbgCache.h"
#include "cul/platform/CUL_Api.h"
#include "quonutil/settings/DebuggerSettings.h"

namespace {

DebuggerSettings::Setting& cacheSetting() {
  return DebuggerSettings::instance()->setting(DebuggerSettings::kDebugInformationCache);
}

// The settings live in memory: a host keeps them between its runs, this one in a file of one line.
void saveSetting(std::string const& path) {
  std::ofstream(path) << cacheSetting().value.data() << '\n';
}

void loadSetting(std::string const& path) {
  std::ifstream file(path);
  std::string text;
  std::getline(file, text);
  DebuggerSettings::instance()->store(cacheSetting(), systemText(text));
}

// The digest is that of the original, read anew; whether the copy has the same is the question.
bool finds(Original const& original) {
  auto* const cache = DbgCache::instance();
  if (cache->actualName(original.name, &original.digest).isEmpty()) return false;
  std::unique_ptr<ByteString> const copy(
      cache->readFile(original.name, &original.digest, 0, DbgCache::kToTheEnd));
  return copy != nullptr && MD5(copy->data(), copy->length()).asString(MD5::kHexadecimal).data() ==
                                original.digestText();
}

}  // namespace

void runSecondProcess(Demo& demo, Scratch const& scratch) {
  demo.display.heading("A second process knows the cache from the stored setting only");
  std::string const cache = copyOf(demo.originals.front()).parent_path();
  std::string const complete = cache + '/' + kParameter + ":noflush";
  std::string const home = scratch.directory("home-of-the-second");
  saveSetting(scratch.file("settings"));
  demo.display.line("setting %u  %s", DebuggerSettings::kDebugInformationCache,
                    cacheSetting().value.data());
  demo.checks.expect(cacheSetting().value.data() == complete, "the setting is " + complete);
  std::vector<std::string> words{std::filesystem::read_symlink("/proc/self/exe").string(),
                                 kSecondProcess, scratch.file("settings")};
  for (auto const& original : demo.originals) words.emplace_back(original.name.data());
  ChildResult const second = runProgram(words, home);
  std::fputs(second.output.c_str(), stdout);
  demo.checks.expect(second.status == 0,
                     "the second process ends with 0, not with " + std::to_string(second.status));
  demo.checks.confirm(std::filesystem::is_empty(home), "its home directory is still empty");
}

void beSecondProcess(Demo& demo, std::string const& settings,
                     std::vector<std::string> const& files) {
  loadSetting(settings);
  EncodedString const before = cacheSetting().value;
  DbgCache::instance();
  demo.display.line("process %d, HOME %s", CUL_Api::getpid(), std::getenv("HOME"));
  demo.checks.confirm(cacheSetting().value == before,
                      "directory, hours and mode were taken from it and stored again");
  std::size_t found = 0;
  for (auto const& file : files) {
    found += demo.checks.expect(finds(Original({file, file})),
                                "the second process finds the copy of " + file);
  }
  demo.checks.confirm(found == files.size(),
                      std::to_string(found) + " copies found, their digests the same");
  demo.expectNoTrace();
}
