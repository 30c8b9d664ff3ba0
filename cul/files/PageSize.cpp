#include "cul/files/PageSize.h"

#include <unistd.h>

int pageSize() {
  static int const size = ::getpagesize();
  return size;
}
