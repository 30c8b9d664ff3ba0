#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <tuple>
#include <utility>

#include "Parts.h"
#include "Text.h"
#include "cul/messages/CUL_Product.h"
#include "cul/platform/LINUX_Api.h"
#include "cul/platform/UNIX_ApiFailure.h"
#include "quonutil/text/CharString.h"
#include "quonutil/text/EBCDICtable.h"

namespace {

void showSystem(Parts& parts) {
  auto const& api = static_cast<LINUX_Api const&>(*CUL_Api::defaultApi(nullptr));
  int major, minor, patch, number[3] = {}, process = 0;
  api.osVersion(&major, &minor, &patch);
  utsname system;
  ::uname(&system);
  std::sscanf(system.release, "%d.%d.%d", &number[0], &number[1], &number[2]);
  parts.display.line("process %d on Linux %d.%d.%d", CUL_Api::getpid(), major, minor, patch);
  parts.checks.confirm(std::tie(major, minor, patch) == std::tie(number[0], number[1], number[2]) &&
                           api.osVersionCheck(major, minor, patch) == 1,
                       "uname tells of the same kernel");
  parts.checks.confirm(CUL_Api::getpid(process) == 0 && process == ::getpid(),
                       "and the process has that number");
}

void showFiles(Parts& parts) {
  std::string const given = "./lib/..//src/m.c", self = "/proc/self/exe";
  FileName name(CharString(L"./lib/..//src/m.c"));
  UNIX_Api::rationalize(name);
  parts.display.line("%s is %s", given.c_str(), name.data());
  parts.checks.confirm((std::filesystem::current_path() / given).lexically_normal() == name.data(),
                       "as std::filesystem folds it");
  struct stat state;
  bool const isThere = UNIX_Api::stat(self.c_str(), &state) == 0;
  parts.checks.confirm(
      isThere && static_cast<std::uintmax_t>(state.st_size) == std::filesystem::file_size(self),
      "this program has the size that std::filesystem tells");
  int fd = -1, count = 0;
  char magic[3];
  bool const isRead = CUL_Api::open(systemText(self), fd) == 0 &&
                      UNIX_Api::setFilePosition(fd, 1) == 0 &&
                      CUL_Api::read(fd, magic, sizeof magic, count) == 0 && count == 3;
  CUL_Api::close(fd);
  parts.checks.confirm(isRead && std::string(magic, 3) == "ELF", "and is an ELF file");
}

void showCodePages(Parts& parts) {
  std::string shown;
  bool isTwoWay = true;
  for (char const* page : {"037", "1047", "unknown"}) {
    EBCDICtable const& table = *CUL_Api::localApi()->getEBCDICtable(page);
    char text[40];
    std::snprintf(text, sizeof text, "%s: %02X %02X  ", page, table.fromLatin1['A'],
                  table.fromLatin1['[']);
    shown += text;
    for (unsigned byte = 0; byte < 256; ++byte) {
      isTwoWay &= table.fromLatin1[table.toLatin1[byte]] == byte;
    }
  }
  parts.display.line("\"A[\" in EBCDIC code pages  %s", shown.c_str());
  parts.checks.confirm(isTwoWay && shown == "037: C1 BA  1047: C1 AD  unknown: C1 BA  ",
                       "which every byte goes into and comes back from");
}

// The modules that evaluate expressions, of two kinds for each language that has any.
void showModules(Parts& parts) {
  std::string all, names;
  for (int language = -1; language <= 17; ++language) {
    for (char const kind : {'\2', '\1'}) {
      FileName name;
      CUL_Product::instance()->expression_evaluator_name(name, VKT_Language(language), kind);
      names += name.isEmpty() ? "" : std::string(name.data()) + ' ';
    }
    if (!names.empty()) parts.display.line("language %2d  %s", language, names.c_str());
    all += std::exchange(names, "");
  }
  parts.checks.confirm(all ==
                           "quonecx1 quonxcx1 quonecx1 quonxcx1 quonepx1 quonxpx1 quonepl1 "
                           "quonxpl1 quonerp1 quonxrp1 quonecb1 quonxcb1 kcv3asmr kcv3asmr "
                           "quonejv1 quonxjv1 quoneft1 quonxft1 quonecx1 quonxcx1 quonexX1 "
                           "quonxxX1 ",
                       "the evaluators' modules have the names that engines know");
}

void showWords(Parts& parts) {
  CharString rest(L"main.c:12;;\xE9t\xE9:");
  std::string words;
  while (rest != CharString()) {
    words += words.empty() ? "" : "|";
    words += rest.firstToken(L";:").encoded().data();
  }
  parts.display.line("%s", words.c_str());
  parts.checks.confirm(words == "main.c|12||\xC3\xA9t\xC3\xA9", "a list falls into its words");
}

void showFailures(Parts& parts) {
  auto const brokenBefore = parts.checks.broken().size();
  for (int type = 0; type <= 4; ++type) {
    auto const kind = static_cast<CUL_ApiFailure::FailType>(type);
    try {
      if (kind == CUL_ApiFailure::kErrno) CUL_Api::write(-1, "", 1);
      CUL_ApiFailure::throwException(kind, 9, "as this host says");
    } catch (CUL_ApiFailure const& failure) {
      char const* const name = CUL_ApiFailure::type_to_name(failure.failType);
      parts.display.line("%s, %u: %s", name, failure.rc, failure.reason.data());
      parts.checks.expect(failure.failType == kind && failure.rc == 9, name);
    }
  }
  parts.checks.confirm(parts.checks.broken().size() == brokenBefore,
                       "each failure tells what it is");
}

}  // namespace

void showPlatform(Parts& parts) {
  parts.display.heading("The platform, beside the C library's view of it");
  showSystem(parts);
  showFiles(parts);
  showCodePages(parts);
  showModules(parts);
  showWords(parts);
  showFailures(parts);
}
