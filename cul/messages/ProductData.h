#pragma once

#include "cul/base/Export.h"

/// What the product says of itself, for its other modules and for whoever looks into the file.
/// Each text ends with a zero byte, and zero bytes fill the rest of its field.
struct ProductData {
  char legalNotice[512];  ///< of the product's owner, in lines
  char productName[256];  ///< the name, and what it is
  char version[128];      ///< of the libraries
  char buildTime[128];    ///< "Nov 24 2026 at 09:05:00", UTC
};
static_assert(sizeof(ProductData) == 1024, "the fields have their places in the file");

/// Lies in read-only memory. Nothing in this library reads it.
extern "C" CUL_EXPORT ProductData const __productData;
