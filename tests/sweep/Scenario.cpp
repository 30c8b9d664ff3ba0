#include "tests/sweep/Scenario.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "quonutil/trace/TraceImplementation.h"
#include "tests/messages/TestCatalog.h"

namespace fs = std::filesystem;

namespace {

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

// Whatever is not there matters to nobody, unless a scenario says so.
std::vector<Promise> const& usual() {
  static auto const& all = *new std::vector<Promise>{
      {"+*"}, {"@(close|closedir|futimens|readdir|munmap)"}, {"@(readdir|time):odd"}};
  return all;
}

struct Told {
  std::vector<Seen> const& calls;
  unsigned int at;
  std::map<std::string, int>& counts;
  std::set<std::string>& failed;

  bool fits(Promise const& promise) const {
    Seen const& call = calls[at];
    return ::fnmatch(promise.call, call.ending().c_str(), FNM_EXTMATCH) == 0 &&
           (promise.nth == 0 || promise.nth == counts[call.call]) &&
           (promise.behind == nullptr || failed.count(promise.behind) != 0) &&
           (promise.error == 0 || promise.error == call.error);
  }
};

std::string fill(std::string text, Seen const& call, World const& world) {
  auto const put = [&text](char const* mark, std::string const& value) {
    if (auto const at = text.find(mark); at != std::string::npos) text.replace(at, 2, value);
  };
  put("%c", call.call);
  put("%e", std::to_string(call.error));
  put("%p", world.shortened(call.path));
  return text;
}

}  // namespace

World::World(unsigned int parts) {
  fs::create_directory(path(""));
  auto const add = [&](unsigned int part, Files const& some) {
    if (parts & part) original_.insert(some.begin(), some.end());
  };
  original_["outside"] = "outside";
  add(kHome, {{"home", "/"}});
  add(kCache, {{"cache", "/"}, {"cache/main.o.8d777f385d3dfec8815d20f7496026dc", "earlier"}});
  add(kCrowd, {{"cache/ancient", "ancient"},
               {"cache/dangling", "@nowhere"},
               {"cache/folder", "/"},
               {"cache/main.o", "plain"},
               {"cache/other", "other"}});
  add(kFile, {{"files", "/"}, {"files/ancient", "data"}});
  add(kTree, {{"library", "/"},
              {"library/libsweep.a", ""},
              {"tree", "/"},
              {"tree/a", "/"},
              {"tree/a/x.c", ""},
              {"tree/b", "/"},
              {"tree/b/x.c", ""}});
  if (parts & kCatalog) {
    compile(scratch_, "catalog", "$set 1\n1 the first text");
    add(kCatalog, {{"texts", "/"}, {"texts/catalog", scratch_.read("catalog")}});
  }
  restore();
}

World::~World() { fs::current_path("/"); }

std::string World::shortened(std::string text) const {
  std::string const root = scratch_.path("world");
  for (std::size_t at = 0; (at = text.find(root, at)) != std::string::npos;) {
    text.replace(at, root.size(), "~");
  }
  return text;
}

void World::write(std::string const& name, std::string const& content) const {
  int const fd = ::open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0 || ::write(fd, content.data(), content.size()) < 0) std::abort();
  ::close(fd);
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
void World::restore() {
  fs::current_path(path(""));
  for (auto const& [name, content] : files()) {
    auto const found = original_.find(name);
    if (found == original_.end() || found->second != content) fs::remove_all(path(name));
  }
  for (auto const& [name, content] : original_) {
    if (!fs::exists(fs::symlink_status(path(name)))) make(name, content);
  }
}

void World::make(std::string const& name, std::string const& content) const {
  if (content == "/") {
    fs::create_directory(path(name));
  } else if (content[0] == '@') {
    fs::create_symlink(content.substr(1), path(name));
  } else {
    write(name, content);
    if (name.ends_with("ancient")) makeOld(name);
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
  std::string lines, outcome = result;
  std::map<std::string, int> counts;
  std::set<std::string> failed;
  std::vector<Promise> all = promises;
  all.insert(all.end(), usual().begin(), usual().end());
  all.push_back({"new", nullptr, withoutMemory});
  Told told{calls, 0, counts, failed};
  for (auto const& call : calls) {
    ++counts[call.call];
    auto const found = std::find_if(all.begin(), all.end(),
                                    [&](Promise const& promise) { return told.fits(promise); });
    if (found == all.end()) return {"nothing is promised of " + call.ending(), ""};
    if (found->line != nullptr) lines += fill(found->line, call, world) + "\n";
    if (found->result != nullptr) outcome = fill(found->result, call, world);
    if (call.ending()[0] != '+') failed.insert(call.call);
    ++told.at;
  }
  return {lines, outcome};
}
