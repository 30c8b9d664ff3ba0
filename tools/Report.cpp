#include "Report.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Text.h"

namespace {

bool isTerminal() {
  static bool const is = ::isatty(STDOUT_FILENO) == 1;
  return is;
}

// As https://no-color.org has it.
bool hasColours() {
  char const* const no = std::getenv("NO_COLOR");
  char const* const kind = std::getenv("TERM");
  bool const isDumb = kind == nullptr || std::string_view(kind) == "dumb";
  return isTerminal() && !isDumb && (no == nullptr || *no == '\0');
}

void write(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void writeColoured(std::string const& text, Colour colour) {
  static bool const coloured = hasColours();
  constexpr char const* kStarts[] = {"", "\033[32m", "\033[31m", "\033[2m", "\033[1m"};
  char const* const start = coloured ? kStarts[static_cast<int>(colour)] : "";
  write(start);
  write(text);
  if (*start != '\0') write("\033[m");
}

// One cell of a line. The last one of a line is not filled up.
void writeCell(Cell const& cell, std::size_t width, bool isLast) {
  std::string const fill(width - std::min(width, widthOf(cell.shown)), ' ');
  if (cell.toTheRight) write(fill);
  writeColoured(cell.shown, cell.colour);
  if (!isLast && !cell.toTheRight) write(fill);
  write(isLast ? "\n" : "  ");
}

void writeRow(std::vector<Cell> const& cells, std::vector<std::size_t> const& widths) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    writeCell(cells[i], widths[i], i + 1 == cells.size());
  }
}

void writeTable(std::vector<std::string> const& columns,
                std::vector<std::vector<Cell>> const& rows) {
  std::vector<Cell> headings;
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    headings.emplace_back(columns[i], Colour::heading);
    headings.back().toTheRight = rows.front()[i].toTheRight;
    widths.push_back(columns[i].size());
    for (auto const& row : rows) widths[i] = std::max(widths[i], widthOf(row[i].shown));
  }
  writeRow(headings, widths);
  for (auto const& row : rows) writeRow(row, widths);
}

std::string objectOf(std::vector<std::string> const& names, std::vector<Cell> const& values) {
  std::string object;
  for (std::size_t i = 0; i < names.size(); ++i) {
    object += (i == 0 ? "{" : ", ") + quoted(names[i]) + ": " + values[i].json;
  }
  return object + '}';
}

}  // namespace

Cell::Cell(std::string const& text, Colour textColour)
    : shown(printable(text)), json(quoted(text)), colour(textColour) {}

Cell Cell::none() {
  Cell cell("-", Colour::faint);
  cell.json = "null";
  return cell;
}

Cell Cell::number(std::uint64_t number) {
  Cell cell(grouped(number));
  cell.json = std::to_string(number);
  cell.toTheRight = true;
  return cell;
}

Cell Cell::size(std::uint64_t bytes) {
  Cell cell = number(bytes);
  cell.shown = humanSize(bytes);
  return cell;
}

Cell Cell::age(std::int64_t seconds) {
  Cell cell(humanAge(seconds));
  cell.json = std::to_string(seconds);
  cell.toTheRight = true;
  return cell;
}

void Report::field(std::string const& name, Cell value) {
  value.toTheRight = false;
  parts_.push_back({name, {}, {{std::move(value)}}});
}

void Report::table(std::string const& name, std::vector<std::string> columns) {
  parts_.push_back({name, std::move(columns), {}});
}

void Report::print(Arguments const& arguments) const {
  if (arguments.has("--json")) return printJson();
  char const* before = "";  // a blank line, from the second paragraph on
  for (std::size_t i = 0, end; i < parts_.size(); i = end) {
    end = i;
    while (end < parts_.size() && parts_[end].columns.empty()) ++end;
    bool const isTable = end == i;
    if (isTable) ++end;
    if (isTable && parts_[i].rows.empty()) continue;
    write(before);
    isTable ? writeTable(parts_[i].columns, parts_[i].rows) : printFields(i, end);
    before = "\n";
  }
}

void Report::printFields(std::size_t first, std::size_t end) const {
  std::vector<std::size_t> widths(2);
  for (std::size_t i = first; i < end; ++i) widths[0] = std::max(widths[0], parts_[i].name.size());
  for (std::size_t i = first; i < end; ++i) {
    writeRow({Cell(parts_[i].name, Colour::heading), parts_[i].rows[0][0]}, widths);
  }
}

void Report::printJson() const {
  char const* before = "{";
  for (auto const& [name, columns, rows] : parts_) {
    write(before + quoted(name) + ": ");
    before = ",\n ";
    if (columns.empty()) {
      write(rows[0][0].json);
      continue;
    }
    write("[");
    for (std::size_t i = 0; i < rows.size(); ++i) {
      write((i == 0 ? "\n  " : ",\n  ") + objectOf(columns, rows[i]));
    }
    write("]");
  }
  write("}\n");
}

Findings::Findings(Report& report, std::vector<std::string> columns) : report_(report) {
  columns.insert(columns.begin(), "severity");
  report_.table("findings", std::move(columns));
}

void Findings::wrong(std::vector<Cell> cells) {
  cells.insert(cells.begin(), Cell("wrong", Colour::bad));
  report_.row(std::move(cells));
  ++wrongs_;
}

void Findings::note(std::vector<Cell> cells) {
  cells.insert(cells.begin(), Cell("note"));
  report_.row(std::move(cells));
}

void printLine(std::string const& text) {
  write(isTerminal() ? printable(text) : text);
  write("\n");
}

void printLines(Arguments const& arguments, std::string const& table, std::string const& column,
                std::vector<std::string> const& lines) {
  Report report;
  report.table(table, {column});
  for (auto const& line : lines) report.row({line});
  if (arguments.has("--json")) return report.print(arguments);
  for (auto const& line : lines) printLine(line);
}

Progress::Progress(std::uint64_t total) : terminal_(::isatty(STDERR_FILENO) == 1), total_(total) {}

Progress::~Progress() {
  if (!bar_.empty()) std::fputs("\r\033[K", stderr);
}

void Progress::advance(std::uint64_t by) {
  constexpr std::size_t kPlaces = 50;
  done_ += by;
  if (!terminal_ || total_ == 0) return;
  std::string bar(std::min(kPlaces, static_cast<std::size_t>(done_ * kPlaces / total_)), '#');
  bar.resize(kPlaces, '.');
  if (bar == bar_) return;
  bar_ = std::move(bar);
  std::fprintf(stderr, "\r[%s]", bar_.c_str());
}
