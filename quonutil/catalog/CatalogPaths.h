#pragma once

#include <string_view>

#include "quonutil/text/EncodedString.h"

/// Where a catalog may lie, one path after the other: see XPG4MsgServer.
class CatalogPaths {
 public:
  /// Both texts are borrowed.
  CatalogPaths(std::string_view locale, std::string_view catalog) noexcept;

  /// Sets `path` to the next one; false when there is none left.
  bool next(EncodedString& path);

 private:
  bool nextTemplate(std::string_view& pattern);
  bool expand(std::string_view pattern, EncodedString& path) const;
  std::string_view const* field(char letter) const;

  std::string_view catalog_, locale_, language_, territory_, codeset_;
  std::string_view users_;     // what is left of NLSPATH
  std::string_view builtIns_;  // and of the C library's
};
