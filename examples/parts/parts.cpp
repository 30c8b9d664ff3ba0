// cul-parts: the smaller parts of the library at work: messages, an environment, values, the
// platform.
//
//   cul-parts LOCALES
//
// LOCALES is the directory that the library's catalogs were installed in, PREFIX/share/locale. It
// ends with 0 when every comparison held.

#include <cstdio>

#include "Host.h"
#include "Parts.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: cul-parts LOCALES\n", stderr);
    return 2;
  }
  return runHost("cul-parts", [&] {
    Parts parts;
    showMessages(parts, argv[1]);
    startChild(parts);
    showValues(parts);
    showPlatform(parts);
    parts.display.heading("Summary");
    if (parts.checks.broken().empty()) parts.display.line("Every comparison held.");
    return parts.checks.exitStatus();
  });
}
