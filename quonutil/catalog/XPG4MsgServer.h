#pragma once

#include "quonutil/Export.h"
#include "quonutil/text/ByteString.h"
#include "quonutil/text/EncodedString.h"

/// The texts of one message catalog (XPG4), a file as the GNU C library's gencat(1) writes it.
///
/// The file is read once, into memory, and every offset in it is examined: a damaged catalog lacks
/// messages, and does no other harm. Any number of threads may use one server.
///
/// The catalog is looked for with the templates of the environment's NLSPATH, unless the process
/// has rights that its user has not (set-user-id), and then in the C library's own places:
///
///   /usr/share/locale/%L/%N             /usr/share/locale/%l/%N
///   /usr/share/locale/%L/LC_MESSAGES/%N /usr/share/locale/%l/LC_MESSAGES/%N
///
/// Templates are separated by ":", an empty one in front of a ":" stands for "%N". The first that
/// leads to a catalog is taken. In a template
///
///   %N is the catalog's name      %L is the locale, for example de_DE.UTF-8@euro
///   %% is a "%"                   %l, %t and %c are its parts: de, DE and UTF-8
///
/// and one with any other "%" is passed over. A catalog's name with "/" in it is the file's path.
class QUONUTIL_EXPORT XPG4MsgServer {
 public:
  /// Opens `catalog`, which is not null, for `locale`; for null, in the process's own locale for
  /// messages as setlocale(3) has it now. A locale with "/" in it has no catalogs. That there is
  /// none is no failure: see `message`. Throws std::bad_alloc.
  XPG4MsgServer(char const* locale, char const* catalog);
  XPG4MsgServer(XPG4MsgServer const&) = delete;
  XPG4MsgServer& operator=(XPG4MsgServer const&) = delete;
  virtual ~XPG4MsgServer();

  /// True when there is a catalog.
  virtual bool isOpen() const;

  /// The text of message `number` of set `set`, as it stands in the catalog. For one that the
  /// catalog lacks, a text that says which message of which set of which catalog is missing. Throws
  /// std::bad_alloc.
  virtual EncodedString message(int set, int number) const;

 private:
  EncodedString name_;
  ByteString catalog_;  // the whole file, empty when there is none
};
