#include <algorithm>
#include <limits>
#include <memory>
#include <set>

#include "CacheDirectory.h"
#include "Commands.h"
#include "File.h"
#include "Report.h"
#include "Text.h"
#include "cul/dbgcache/DbgCache.h"

namespace {

Cell digestCell(Entry const& entry) {
  return entry.digest.empty() ? Cell::none() : Cell(entry.digest, Colour::faint);
}

void addEntries(Report& report, std::string const& table, std::vector<Entry> const& entries) {
  AgeRule const rule(0);
  report.table(table, {"size", "age", "digest", "name"});
  for (auto const& entry : entries) {
    report.row(
        {Cell::size(entry.size()), Cell::age(rule.ageOf(entry)), digestCell(entry), entry.name});
  }
}

std::uint64_t bytesIn(std::vector<Entry> const& entries) {
  std::uint64_t bytes = 0;
  for (auto const& entry : entries) bytes += entry.size();
  return bytes;
}

void addTotals(Report& report, std::vector<Entry> const& entries) {
  report.field("files", Cell::number(entries.size()));
  report.field("bytes", Cell::size(bytesIn(entries)));
}

void sortBy(std::string const& key, std::vector<Entry>& entries) {
  auto const by = [&](auto isBefore) {
    std::stable_sort(entries.begin(), entries.end(), isBefore);
  };
  if (key == "size") {
    by([](Entry const& left, Entry const& right) { return left.size() > right.size(); });
  } else if (key == "age") {
    by([](Entry const& left, Entry const& right) {
      return left.state.st_atime < right.state.st_atime;
    });
  } else if (key != "name" && !key.empty()) {
    throw WrongUsage("--sort wants name, size or age");
  }
}

constexpr struct {
  std::int64_t below;  // seconds
  char const* name;
} kAges[] = {{3600, "below 1 h"},         {24 * 3600, "below 24 h"},
             {48 * 3600, "below 48 h"},   {7 * 86'400, "below 7 d"},
             {30 * 86'400, "below 30 d"}, {std::numeric_limits<std::int64_t>::max(), "older"}};

void addAges(Report& report, std::vector<Entry> entries) {
  constexpr std::size_t kPlaces = 40;
  AgeRule const rule(0);
  std::size_t const total = entries.size();
  report.table("ages", {"age", "files", "bytes", "share"});
  for (auto const& [below, name] : kAges) {
    auto const isOlder = [&, limit = below](Entry const& entry) {
      return rule.ageOf(entry) >= limit;
    };
    auto const rest = std::partition(entries.begin(), entries.end(), isOlder);
    std::vector<Entry> const young(rest, entries.end());
    entries.erase(rest, entries.end());
    std::size_t const places = total == 0 ? 0 : (young.size() * kPlaces + total - 1) / total;
    report.row(
        {name, Cell::number(young.size()), Cell::size(bytesIn(young)), std::string(places, '#')});
  }
}

MD5 digestOf(std::string const& path, Progress& progress) {
  constexpr std::size_t kPiece = 1 << 20;
  File const file(path);
  std::unique_ptr<char[]> const piece(new char[kPiece]);
  MD5 digest;
  while (std::size_t const count = file.read(piece.get(), kPiece)) {
    digest.update(piece.get(), count);
    progress.advance(count);
  }
  return digest;
}

// Whether the content is the one that the name promises; the text says why not.
Cell verify(CacheDirectory const& cache, Entry const& entry, Progress& progress) {
  if (entry.digest.empty()) return {"no digest", Colour::faint};
  if (!S_ISREG(entry.state.st_mode)) return {"no file", Colour::bad};
  try {
    MD5 const digest = digestOf(cache.path() + entry.file, progress);
    auto const name = DbgCache::makeFileName(fileName(entry.name), &digest);
    return bytesOf(name) == entry.file ? Cell("good", Colour::good) : Cell("damaged", Colour::bad);
  } catch (Failure const& failure) {
    return {failure.what(), Colour::bad};
  }
}

}  // namespace

bool cacheList(Arguments const& arguments) {
  CacheDirectory const cache(arguments.value("--directory"));
  auto copies = cache.copies();
  sortBy(arguments.value("--sort"), copies);
  Report report;
  report.field("directory", cache.path());
  addEntries(report, "copies", copies);
  addTotals(report, copies);
  report.print(arguments);
  return true;
}

bool cacheStat(Arguments const& arguments) {
  CacheDirectory const cache(arguments.value("--directory"));
  auto const copies = cache.copies();
  std::set<std::string> names;
  for (auto const& copy : copies) names.insert(copy.name);
  Report report;
  report.field("directory", cache.path());
  addTotals(report, copies);
  report.field("names", Cell::number(names.size()));
  addAges(report, copies);
  report.print(arguments);
  return true;
}

bool cacheVerify(Arguments const& arguments) {
  CacheDirectory const cache(arguments.value("--directory"));
  auto const copies = cache.copies();
  std::size_t bad = 0;
  Report report;
  report.table("copies", {"verdict", "file"});
  {
    Progress progress(bytesIn(copies));
    for (auto const& copy : copies) {
      Cell const verdict = verify(cache, copy, progress);
      bad += verdict.colour == Colour::bad;
      report.row({verdict, copy.file});
    }
  }
  report.field("files", Cell::number(copies.size()));
  report.field("bad", Cell::number(bad));
  report.print(arguments);
  return bad == 0;
}

bool cacheWouldRemove(Arguments const& arguments) {
  auto const& operands = arguments.operands();
  auto const hours =
      operands.empty() ? CacheDirectory::kDefaultHours : numberFrom(operands[0], "HOURS");
  CacheDirectory const cache(arguments.value("--directory"));
  AgeRule const rule(hours);
  auto copies = cache.copies();
  std::erase_if(copies, [&](Entry const& copy) { return !rule.takes(copy); });
  Report report;
  report.field("directory", cache.path());
  report.field("limit", Cell::age(rule.limit));
  addEntries(report, "removed", copies);
  addTotals(report, copies);
  report.print(arguments);
  return true;
}
