#include <algorithm>
#include <memory>
#include <set>

#include "Commands.h"
#include "File.h"
#include "Report.h"
#include "Text.h"
#include "cul/environment/UNIX_Environment.h"
#include "quonutil/collections/AutoList.h"

namespace {

// What stands in front of "=" may be a name: the lines of a value that has several look otherwise.
bool beginsVariable(std::string_view line) {
  std::size_t const equals = line.find('=');
  return equals != std::string_view::npos && equals != 0 &&
         line.substr(0, equals).find_first_of(" \t\"'$;|&<>{") == std::string_view::npos;
}

void addTo(CUL_Environment& environment, std::string const& entry) {
  std::size_t const equals = entry.find('=');
  if (equals == std::string::npos) return;
  environment.add(systemText(entry.substr(0, equals)), systemText(entry.substr(equals + 1)));
}

// Entries that end with a zero byte, as /proc has them, or else lines, as env(1) prints them.
void load(CUL_Environment& environment, std::string const& path) {
  std::string const content = contentOf(path);
  bool const hasZeros = content.find('\0') != std::string::npos;
  std::string entry;
  for (std::size_t at = 0; at < content.size();) {
    std::size_t const end = std::min(content.find(hasZeros ? '\0' : '\n', at), content.size());
    std::string const piece = content.substr(at, end - at);
    at = end + 1;
    if (hasZeros || entry.empty() || beginsVariable(piece)) {
      addTo(environment, entry);
      entry = piece;
    } else {
      entry.append(1, '\n').append(piece);
    }
  }
  addTo(environment, entry);
}

// Of a process's own environment, or of a file.
class Variables {
 public:
  Variables() { environment_.localEnvironment(); }
  explicit Variables(std::string const& path) { load(environment_, path); }

  std::vector<std::pair<std::string, std::string>> all() const {
    AutoList<CUL_EnvironmentVariable*> list;
    environment_.variables(list);
    std::vector<std::pair<std::string, std::string>> variables;
    for (unsigned i = 0; i < list.count(); ++i) {
      variables.emplace_back(bytesOf(list[i]->name()), bytesOf(list[i]->value()));
    }
    return variables;
  }
  std::set<std::string> names() const {
    std::set<std::string> names;
    for (auto const& [name, value] : all()) names.insert(name);
    return names;
  }
  bool has(std::string const& name) const {
    return environment_.find(systemText(name)) != Environment::kNotFound;
  }
  // Of several variables of one name the last one counts.
  Cell value(std::string const& name) const {
    return has(name) ? Cell(bytesOf(environment_.value(systemText(name)))) : Cell::none();
  }

 private:
  UNIX_Environment environment_;
};

bool showDifference(Arguments const& arguments) {
  if (arguments.operands().empty()) throw WrongUsage("--diff wants two files");
  Variables const before(arguments.value("--diff")), after(arguments.operands()[0]);
  auto names = before.names();
  names.merge(after.names());
  Report report;
  report.table("differences", {"change", "name", "before", "after"});
  for (auto const& name : names) {
    Cell const old = before.value(name), now = after.value(name);
    bool const wasThere = before.has(name), isThere = after.has(name);
    if (wasThere && isThere && old.json == now.json) continue;
    Cell const change = !wasThere ? Cell("added", Colour::good)
                        : isThere ? Cell("changed")
                                  : Cell("removed", Colour::bad);
    report.row({change, name, old, now});
  }
  report.print(arguments);
  return true;
}

}  // namespace

bool showEnvironment(Arguments const& arguments) {
  if (arguments.has("--diff")) return showDifference(arguments);
  auto const& files = arguments.operands();
  Variables const variables = files.empty() ? Variables() : Variables(files[0]);
  Report report;
  report.table("variables", {"name", "value"});
  for (auto const& [name, value] : variables.all()) {
    report.row({name, value});
    if (!arguments.has("--json")) printLine(std::string(name).append(1, '=').append(value));
  }
  if (arguments.has("--json")) report.print(arguments);
  return true;
}
