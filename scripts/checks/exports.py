#!/usr/bin/env python3
"""Compares the names that a shared library exports with a checked-in list.

  exports.py LIBRARY LIST [--update]

A name that appears becomes somebody's to call, one that vanishes breaks who called it: both are
decided, never happened upon. The list is demangled and sorted by bytes. Whatever the list says,
no name of the C++ library may appear, and no C name but those of C_NAMES. Every name has the
library's version, which is in the list as well.
"""

import difflib
import pathlib
import re
import subprocess
import sys

C_NAMES = re.compile(r"__productData|quonutil_\d+_\d+")
# std::, its abbreviated templates, and the library's own namespaces, in a mangled name: of a
# function or object, of its tables and type information, or of something local to a function.
FOREIGN = re.compile(r"_Z(GV|T[VTIS]|GR)?(ZN?|N)?[VKRO]*(S[tabsiod]|9__gnu_cxx|10__cxxabiv1)")


def exported(library):
    """The versions of the names, and mangled name -> demangled name."""
    command = ["nm", "-D", "--defined-only", "--format=posix", library]
    listing = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    lines = [line.split()[:2] for line in listing.splitlines()]
    names = [name.partition("@@") for name, kind in lines if kind != "A"]  # A: a version itself
    mangled = [name for name, _, _ in names]
    text = subprocess.run(["c++filt"], input="\n".join(mangled), check=True, capture_output=True,
                          text=True).stdout  # fmt: skip
    return {version for _, _, version in names}, dict(zip(mangled, text.splitlines()))


def foreign(mangled):
    return FOREIGN.match(mangled) or not mangled.startswith("_Z") and not C_NAMES.fullmatch(mangled)


def main():
    library, list_path = sys.argv[1], pathlib.Path(sys.argv[2])
    versions, names = exported(library)
    strangers = sorted(text for mangled, text in names.items() if foreign(mangled))
    for text in strangers:
        print(f"{library} exports a name that is not ours: {text}")
    single = len(versions) == 1 and all(versions)
    if not single:
        print(f"{library} gives its names the versions {sorted(versions)}, not one")
    now = sorted(versions) + sorted(set(names.values()))
    if "--update" in sys.argv[3:]:
        list_path.parent.mkdir(exist_ok=True)
        list_path.write_text("".join(f"{name}\n" for name in now))
    stored = list_path.read_text().splitlines() if list_path.exists() else []
    changes = list(difflib.unified_diff(stored, now, str(list_path), library, n=0, lineterm=""))
    if changes:
        print("\n".join(changes))
        print("When this is meant: scripts/check --update-exports")
    print(f"{library}: {len(now)} names")
    return 1 if strangers or changes or not single else 0


if __name__ == "__main__":
    sys.exit(main())
