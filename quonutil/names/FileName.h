#pragma once

#include "quonutil/text/CharString.h"
#include "quonutil/text/EncodedString.h"

/// The name or path of a file, with its parts.
///
///   text                       directory     short_name         base        member
///   /usr/lib/libm.a(sin.o)     /usr/lib/     libm.a(sin.o)      libm.a      sin.o
///   main.c                                   main.c             main.c
///   /usr/src/                  /usr/src/
///
/// The directory reaches to the last "/". A member is what stands in a final pair of parentheses
/// that opens behind at least one character of the file's own name; an empty pair is no member.
///
/// The parts are found once, when the text is set. Whoever changes the text through its base class
/// calls `validate()` before asking for a part again. The empty name means "nothing found".
/// Failures and threads: see StringBuffer.
class QUONUTIL_EXPORT FileName : public EncodedString {
 public:
  FileName() noexcept = default;
  /// The name `text`, a copy, with its parts.
  FileName(EncodedString const& text);
  /// The name `text`, taken, with its parts.
  FileName(EncodedString&& text) noexcept;
  /// The name `text` as UTF-8, with its parts.
  FileName(CharString const& text);
  FileName(FileName const&) = default;
  FileName(FileName&&) noexcept = default;
  FileName& operator=(FileName const&) = default;
  FileName& operator=(FileName&&) noexcept = default;
  virtual ~FileName();

  /// Finds the parts anew.
  virtual void validate();

  /// The path up to and with the last "/".
  EncodedString directory() const;
  /// The name behind the directory, member and all.
  EncodedString short_name() const;
  /// The short name without its member.
  EncodedString base() const;
  /// The member's name without its parentheses.
  EncodedString member() const;
  /// False for the empty name and for one that ends in "/".
  bool hasFilePart() const noexcept { return directoryLength_ < length(); }

  /// Gives the name another member, or with an empty text none.
  void change_member(EncodedString const& member);

  /// Makes a relative name absolute against `directory`, then folds ".", ".." and repeated "/"
  /// away, by text alone: a ".." behind a symbolic link does not lead where the system would go.
  /// A final "/" stays. An empty `directory` leaves a relative name relative; the empty name stays
  /// empty.
  void rationalizePath(EncodedString const& directory);

  /// The first file called `name` along `path`, a list of directories separated by ":"; the empty
  /// name when there is none.
  ///
  /// An absolute name is looked up as it stands, and so is any name when `path` is empty.
  /// Otherwise the result is a directory of the path, "/" and the name; an empty entry of the path
  /// is read as ".". What is found exists and is no directory, symbolic links followed; with
  /// `executableOnly` the process may also execute it.
  static FileName findFile(FileName const& name, EncodedString const& path, bool executableOnly);

 private:
  EncodedString part(unsigned int start, unsigned int length) const;

  unsigned int directoryLength_ = 0;
  unsigned int memberLength_ = 0;  // without its parentheses
};
