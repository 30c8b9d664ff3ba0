#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Arguments.h"

enum class Colour { plain, good, bad, faint, heading };

/// One value, as a person sees it and as a program reads it.
struct Cell {
  Cell(std::string const& text, Colour textColour = Colour::plain);
  Cell(char const* text, Colour textColour = Colour::plain) : Cell(std::string(text), textColour) {}
  static Cell none();
  static Cell number(std::uint64_t number);
  static Cell size(std::uint64_t bytes);
  static Cell age(std::int64_t seconds);

  std::string shown, json;
  Colour colour = Colour::plain;
  bool toTheRight = false;
};

/// Named values and tables: lines for a person, or with --json one object for a program.
class Report {
 public:
  void field(std::string const& name, Cell value);
  void table(std::string const& name, std::vector<std::string> columns);
  /// Adds a row to the last table.
  void row(std::vector<Cell> cells) { parts_.back().rows.push_back(std::move(cells)); }

  /// Writes to standard output, in colours where that is a terminal.
  void print(Arguments const& arguments) const;

 private:
  struct Part {
    std::string name;
    std::vector<std::string> columns;  // none: a single value
    std::vector<std::vector<Cell>> rows;
  };

  void printJson() const;
  void printFields(std::size_t first, std::size_t end) const;

  std::vector<Part> parts_;
};

/// A table of what is wrong, and of what is worth a note.
class Findings {
 public:
  /// The column "severity" stands in front of those given.
  Findings(Report& report, std::vector<std::string> columns);

  void wrong(std::vector<Cell> cells);
  void note(std::vector<Cell> cells);
  void wrong(std::string const& text) { wrong(std::vector<Cell>{text}); }
  void note(std::string const& text) { note(std::vector<Cell>{text}); }
  std::size_t wrongs() const { return wrongs_; }

 private:
  Report& report_;
  std::size_t wrongs_ = 0;
};

/// Writes one line to standard output; printable where that is a terminal, and else as it is.
void printLine(std::string const& text);

/// Writes a line each, or with --json a table of one column.
void printLines(Arguments const& arguments, std::string const& table, std::string const& column,
                std::vector<std::string> const& lines);

/// A bar on standard error, where that is a terminal, for as long as the object lives.
class Progress {
 public:
  explicit Progress(std::uint64_t total);
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;
  ~Progress();

  void advance(std::uint64_t by);

 private:
  bool const terminal_;
  std::uint64_t const total_;
  std::uint64_t done_ = 0;
  std::string bar_;
};
