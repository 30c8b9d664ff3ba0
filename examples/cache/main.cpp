// cul-demo: the debug-information cache and the dispatchers at their work, on real files.
//
//   cul-demo            with the debug information of this process's C library
//   cul-demo FILE...    with these files
//
// Everything it writes lies in a temporary directory, which goes however the demo ends. It ends
// with 0 when every comparison held.

#include <csignal>

#include "Demo.h"
#include "Events.h"
#include "Host.h"
#include "quonutil/settings/DebuggerParameters.h"

namespace {

void summarize(Demo& demo) {
  demo.display.heading("Summary");
  demo.display.line("%zu files, %s bytes; %s ranges compared; %u entries removed for their age;",
                    demo.originals.size(), grouped(demo.bytes).c_str(),
                    grouped(demo.ranges).c_str(), demo.removed);
  demo.display.line("%u failures provoked; %u events made and gone; %.1f s", demo.failures,
                    Counted::gone.load(), secondsSince(demo.start));
  if (demo.checks.broken().empty()) demo.display.line("Every comparison held.");
}

// The cache lies where nobody else has one: the default directory is in the home directory.
int run(std::vector<DebugFile> const& files) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes, as "head" does, leaves us to clean up
  Scratch scratch;
  ::setenv("HOME", scratch.directory("home").c_str(), 1);
  DebuggerParameters::instance()->setParm(DebuggerParameters::kCacheParameter,
                                          systemText(kParameter));
  Demo demo;
  DispatchThread dispatch;
  std::size_t const threads = countThreads();
  storeFiles(demo, files);
  checkDigests(demo);
  readBack(demo);
  runSecondProcess(demo, scratch);
  removeByAge(demo, scratch);
  provokeFailures(demo);
  runInOrder(demo);
  endDispatching(demo, dispatch, threads);
  demo.checks.confirm(scratch.remove(), "nothing is left of the home directory");
  summarize(demo);
  return demo.checks.exitStatus();
}

int runAsSecond(std::vector<std::string> const& words) {
  Demo demo;
  beSecondProcess(demo, words[1], {words.begin() + 2, words.end()});
  return demo.checks.exitStatus();
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> const words(argv + 1, argv + argc);
  return runHost("cul-demo", [&] {
    if (words.size() > 2 && words[0] == kSecondProcess) return runAsSecond(words);
    std::vector<DebugFile> files;
    for (auto const& word : words) files.push_back({word.substr(word.rfind('/') + 1), word});
    return run(files.empty() ? debugFilesOfThisProcess() : files);
  });
}
