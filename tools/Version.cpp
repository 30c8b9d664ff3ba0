#include <dlfcn.h>

#include "Commands.h"
#include "Report.h"
#include "cul/messages/ProductData.h"
#include "cul/platform/LINUX_Api.h"
#include "quonutil/trace/TraceImplementation.h"

namespace {

// The library that has the function. (Data may have been copied into the program.)
template <class Function>
Cell libraryOf(Function* function) {
  Dl_info info;
  bool const isKnown = ::dladdr(reinterpret_cast<void*>(function), &info) != 0;
  return isKnown ? Cell(info.dli_fname) : Cell::none();
}

std::string kernel() {
  int major = 0, minor = 0, patch = 0;
  LINUX_Api(CUL_Api::kLocalApi, 0).osVersion(&major, &minor, &patch);
  return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

}  // namespace

bool showVersion(Arguments const& arguments) {
  Report report;
  report.field("product", __productData.productName);
  report.field("version", __productData.version);
  report.field("built", __productData.buildTime);
  report.field("cul", libraryOf(&CUL_Api::localApi));
  report.field("quonutil", libraryOf(&traceImplementation));
  report.field("kernel", kernel());
  report.print(arguments);
  return true;
}
