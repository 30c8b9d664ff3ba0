#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "Commands.h"
#include "Lookup.h"
#include "Report.h"
#include "Text.h"

namespace {

// What one place has to do with the answer.
struct Verdict {
  Place place;
  std::string file;  // empty where there is none
  std::string text;
  Colour colour = Colour::plain;
};

bool isSameFile(std::string const& one, std::string const& other) {
  struct stat left, right;
  return ::stat(one.c_str(), &left) == 0 && ::stat(other.c_str(), &right) == 0 &&
         left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

Verdict verdictOn(Place const& place, std::string const& file, std::string const& answer,
                  bool mustRun) {
  bool const runs = !mustRun || ::access(file.c_str(), X_OK) == 0;
  char const* const note = runs ? "" : ", not executable";
  Colour const colour = runs ? Colour::good : Colour::bad;
  if (answer.empty()) return {place, file, std::string("found") + note, colour};
  if (isSameFile(file, answer)) return {place, file, "the same file", Colour::faint};
  return {place, file, std::string("shadowed") + note, Colour::bad};
}

std::vector<Verdict> verdictsOf(Lookup const& lookup, Arguments const& arguments,
                                std::string const& answer) {
  FileName const name = nameOf(arguments);
  std::vector<Verdict> verdicts;
  std::string first;
  for (auto const& place : lookup.places(arguments)) {
    auto const files = filesAt(place, name);
    if (files.empty()) verdicts.push_back({place, "", whyNotAt(place, name), Colour::faint});
    for (auto const& file : files) {
      verdicts.push_back(verdictOn(place, file, first, lookup.isOfPrograms));
      if (first.empty()) first = file;
    }
  }
  if (first != answer) throw Failure("the files changed while they were looked at");
  return verdicts;
}

Cell fileCell(std::string const& file) { return file.empty() ? Cell::none() : Cell(file); }

// Without its links; empty when that cannot be told, as of a member of an archive.
std::string realPath(std::string const& file) {
  std::unique_ptr<char, void (*)(void*)> const path(::realpath(file.c_str(), nullptr), std::free);
  return path == nullptr ? "" : path.get();
}

void addPlaces(Report& report, std::vector<Verdict> const& verdicts) {
  report.table("searched", {"stage", "directory", "verdict", "file"});
  for (auto const& [place, file, text, colour] : verdicts) {
    report.row({place.stage, fileCell(place.directory), Cell(text, colour), fileCell(file)});
  }
}

void addEveryFile(Report& report, std::vector<Verdict> const& verdicts) {
  report.table("all", {"file"});
  for (auto const& verdict : verdicts) {
    if (!verdict.file.empty()) report.row({verdict.file});
  }
}

void explain(Lookup const& lookup, Arguments const& arguments, std::string const& first) {
  bool const all = arguments.has("--all");
  std::vector<Verdict> verdicts;
  if (all || arguments.has("--explain")) verdicts = verdictsOf(lookup, arguments, first);
  Report report;
  if (arguments.has("--explain")) addPlaces(report, verdicts);
  report.field("name", arguments.operands()[0]);
  report.field("found", fileCell(first));
  report.field("real", fileCell(realPath(first)));
  if (all) addEveryFile(report, verdicts);
  report.print(arguments);
}

bool find(Lookup const& lookup, Arguments const& arguments) {
  std::string const first = bytesOf(lookup.answer(arguments));
  if (arguments.has("--explain") || arguments.has("--json")) {
    explain(lookup, arguments, first);
    return !first.empty();
  }
  if (first.empty()) throw Failure(arguments.operands()[0] + " is not found");
  if (!arguments.has("--all")) return printLine(first), true;
  for (auto const& verdict : verdictsOf(lookup, arguments, first)) {
    if (!verdict.file.empty()) printLine(verdict.file);
  }
  return true;
}

}  // namespace

bool findExecutable(Arguments const& arguments) { return find(kExecutableLookup, arguments); }
bool findModule(Arguments const& arguments) { return find(kModuleLookup, arguments); }
bool findSource(Arguments const& arguments) { return find(kSourceLookup, arguments); }
