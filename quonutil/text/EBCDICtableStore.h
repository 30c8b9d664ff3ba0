#pragma once

#include "quonutil/Export.h"
#include "quonutil/text/EBCDICtable.h"

/// The process's EBCDIC translation tables, each made by the C library's iconv(3) at its first use.
/// They live as long as the process. Any thread may look one up.
class QUONUTIL_EXPORT EBCDICtableStore {
 public:
  /// The process's one store, made at first use.
  static EBCDICtableStore* instance();

  /// The table of a code page, "037" or "1047"; for a null name that of 037. Null for any other
  /// name, and when the system cannot convert from that code page.
  EBCDICtable const* find(char const* name) const;

 private:
  EBCDICtableStore() = default;
};
