#include "tests/sweep/Scenario.h"

#include <fnmatch.h>

#include <algorithm>

#include "quonutil/trace/TraceImplementation.h"
#include "tests/messages/TestCatalog.h"

namespace fs = std::filesystem;

namespace {

constexpr struct {
  unsigned int part;
  char const *name, *content;
} kPlaces[] = {
    {0, "outside", "outside"},
    {kHome, "home", "/"},
    {kCache, "cache", "/"},
    {kCache, kCopy, "earlier"},
    {kCrowd, "cache/ancient", "ancient"},
    {kCrowd, "cache/dangling", "@nowhere"},
    {kCrowd, "cache/folder", "/"},
    {kCrowd, "cache/main.o", "plain"},
    {kCrowd, "cache/other", "other"},
    {kFile, "files", "/"},
    {kFile, "files/ancient", "data"},
    {kTree, "library", "/"},
    {kTree, "library/libsweep.a", ""},
    {kTree, "tree", "/"},
    {kTree, "tree/a", "/"},
    {kTree, "tree/a/x.c", ""},
    {kTree, "tree/b", "/"},
    {kTree, "tree/b/x.c", ""},
    {kCatalog, "texts", "/"},
};

// Leaves the time of the last access alone.
std::string contentOf(fs::path const& path) {
  int const fd = ::open(path.c_str(), O_RDONLY | O_NOATIME | O_CLOEXEC);
  char bytes[4096];
  ssize_t const count = ::read(fd, bytes, sizeof bytes);
  ::close(fd);
  return {bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

std::string describe(fs::directory_entry const& entry) {
  if (entry.is_symlink()) return "@" + fs::read_symlink(entry.path()).string();
  if (entry.is_directory()) return "/";
  return entry.is_fifo() ? "|" : contentOf(entry.path());
}

void replace(std::string& text, std::string const& from, std::string const& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
}

std::string fill(std::string text, Seen const& call, World const& world) {
  replace(text, "%c", call.call);
  replace(text, "%e", std::to_string(call.error));
  replace(text, "%p", world.shortened(call.path));
  return text;
}

}  // namespace

bool fits(std::string const& pattern, std::string const& text) {
  return ::fnmatch(pattern.c_str(), text.c_str(), FNM_EXTMATCH) == 0;
}

std::string World::contentIn(Files const& files, std::string const& name) {
  auto const found = files.find(name);
  return found == files.end() ? kGone : found->second;
}

World::World(unsigned int parts) {
  fs::create_directory(path(""));
  for (auto const& [part, name, content] : kPlaces) {
    if ((parts & part) == part) original[name] = content;
  }
  if (parts & kCatalog) {
    compile(scratch_, "catalog", "$set 1\n1 the first text");
    original["texts/catalog"] = scratch_.read("catalog");
  }
  restore();
}

World::~World() { fs::current_path("/"); }

std::string World::shortened(std::string text) const {
  replace(text, scratch_.path("world"), "~");
  return text;
}

void World::makeOld(std::string const& name) const {
  timespec const times[] = {{1234567, 0}, {1234567, 0}};
  ::utimensat(AT_FDCWD, path(name).c_str(), times, 0);
}

World::Files World::files() const {
  Files found;
  for (auto const& entry : fs::recursive_directory_iterator(path(""))) {
    found.emplace(entry.path().lexically_relative(path("")), describe(entry));
  }
  return found;
}

// Only what is not as it was: the rest is as old as it was, too.
void World::restore() const {
  fs::current_path(path(""));
  for (auto const& [name, content] : files()) {
    if (contentIn(original, name) != content) fs::remove_all(path(name));
  }
  for (auto const& [name, content] : original) {
    if (fs::exists(fs::symlink_status(path(name)))) continue;
    if (content == "/") {
      fs::create_directory(path(name));
    } else if (content[0] == '@') {
      fs::create_symlink(content.substr(1), path(name));
    } else {
      write(name, content);
      if (name.ends_with("ancient")) makeOld(name);
    }
  }
}

void Run::startTracing() {
  auto& trace = traceImplementation();
  trace.setSink(&Run::take, nullptr);
  for (auto flag : {TraceFlag::detail, TraceFlag::error, TraceFlag::warning, TraceFlag::vkt}) {
    trace.setFlag(flag, true);
  }
}

void Run::take(void*, char const* line, unsigned int length) {
  Watching const nobody(nullptr);
  if (muted) return;
  std::string text(line, length);
  auto const colon = text.find(':');  // and the number of a source line
  text.erase(colon, text.find(' ', colon) - colon);
  active_->line(active_->world.shortened(text));
}

std::pair<std::string, std::string> Scenario::promised(std::vector<Seen> const& calls,
                                                       World const& world) const {
  std::string const lost = std::string("bad_alloc ") + withoutMemory;
  std::vector<Promise> all = promises;
  // Whatever is not there matters to nobody, unless a scenario says so.
  all.insert(all.end(), {{"new", nullptr, lost.c_str()},
                         {"+*"},
                         {"@(close|closedir|futimens|readdir|munmap)"},
                         {"@(readdir|time):odd"}});
  std::string lines, outcome = result;
  std::map<std::string, int> counts;
  std::set<std::string> failed;
  for (auto const& call : calls) {
    std::string const ending = call.ending();
    int const nth = ++counts[call.call];
    auto const found = std::find_if(all.begin(), all.end(), [&](Promise const& each) {
      return fits(each.call, ending) && (each.nth == 0 || each.nth == nth) &&
             (each.behind == nullptr || failed.count(each.behind) != 0) &&
             (each.error == 0 || each.error == call.error);
    });
    if (found == all.end()) return {"nothing is promised of " + ending, ""};
    if (found->line != nullptr) lines += fill(found->line, call, world) + "\n";
    if (found->result != nullptr) outcome = fill(found->result, call, world);
    if (ending[0] != '+') failed.insert(call.call);
  }
  return {lines, outcome};
}
