#!/usr/bin/env python3
"""Holds the #include lines against the arrows that the CMake files draw.

  tools, examples, bench, fuzz, tests -> cul -> quonutil -> the C and C++ standard libraries

Inside cul a folder includes its own headers, those of base and of the folders that its
`cul_subsystem` names after USES. The argument is the `layout.txt` of a build directory.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARIES = ("quonutil", "cul")
OUTSIDE = ("tools", "examples", "bench", "fuzz", "tests")
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:([<"])([^>"]+)[>"]|(.*))')


class Layout:
    """What the CMake files say: files and arrows of each folder."""

    def __init__(self, path):
        self.kind = {}  # file -> HEADERS, INTERNAL or SOURCES
        self.uses = {}  # folder -> folders
        for line in path.read_text().splitlines():
            word, folder, *rest = line.split()
            if word == "folder":
                self.uses.setdefault(folder, set())
            elif word == "USES":
                self.uses[folder].add(f"cul/{rest[0]}")
            else:
                self.kind[f"{folder}/{rest[0]}"] = word

    def installed(self, path):
        return self.kind.get(path) == "HEADERS"

    def cycle(self):
        """A folder that reaches itself through USES, or None."""
        for start in self.uses:
            reached, left = set(), [start]
            while left:
                for folder in self.uses.get(left.pop(), ()):
                    if folder == start:
                        return start
                    if folder not in reached:
                        reached.add(folder)
                        left.append(folder)
        return None


def cpp_files(folder):
    return sorted(
        path.relative_to(ROOT).as_posix()
        for path in (ROOT / folder).rglob("*")
        if path.suffix in (".h", ".cpp")
    )


def includes(path):
    """Yields (line number, is it in angle brackets, what is included or None)."""
    text = (ROOT / path).read_text(errors="replace")
    for number, line in enumerate(text.splitlines(), 1):
        if match := INCLUDE.match(line):
            yield number, match[1] == "<", match[2]


def folder_of(path):
    return path.rsplit("/", 1)[0]


def wrong_in_library(layout, path, angle, target):
    """Why a file of a library may not include `target`, or None."""
    library, folder = path.split("/")[0], folder_of(path)
    if target is None:
        return "names its header by a macro"
    if angle:
        if target == "iostream":
            return "brings a global constructor with it"
        ours = target.split("/")[0] in LIBRARIES
        if ours or ("/" in target and not target.startswith(("sys/", "linux/"))):
            return "is not of the standard libraries"
        return None
    if target not in layout.kind:
        return "is no file of a library's CMakeLists.txt"
    if layout.installed(path) and not layout.installed(target):
        return "is not installed, but this header is"
    if target.split("/")[0] != library:
        if library == "quonutil":
            return "points back from quonutil"
        return None if layout.installed(target) else "is not installed: a back door"
    allowed = {folder, "cul/base"} | layout.uses.get(folder, set())
    if library == "cul" and folder_of(target) not in allowed:
        return f"is of a folder that {folder} does not name after USES"
    return None


def wrong_outside(layout, path, angle, target):
    """Why a program may not include `target`, or None."""
    if target is None:
        return None
    place = path.split("/")[0]
    if target.split("/")[0] not in LIBRARIES:
        others = set(OUTSIDE) - {place}
        return "is of another program" if target.split("/")[0] in others else None
    if place in ("tools", "examples") and not layout.installed(target):
        return "is not installed"
    return None


def check_includes(layout):
    used = {folder: set() for folder in layout.uses}
    for place in LIBRARIES + OUTSIDE:
        wrong = wrong_in_library if place in LIBRARIES else wrong_outside
        for path in cpp_files(place):
            for number, angle, target in includes(path):
                if reason := wrong(layout, path, angle, target):
                    yield f"{path}:{number}: {target or 'this'} {reason}"
                if target:
                    used.setdefault(folder_of(path), set()).add(folder_of("/" + target)[1:])
    for folder, arrows in layout.uses.items():
        for unused in sorted(arrows - used[folder]):
            yield f"{folder}: USES {unused}, but includes nothing of it"


def check_lists(layout):
    for path in sorted(layout.kind):
        if not (ROOT / path).exists():
            yield f"{path}: listed, but not there"
    for library in LIBRARIES:
        for path in cpp_files(library):
            if path not in layout.kind:
                yield f"{path}: in no CMakeLists.txt"
    if folder := layout.cycle():
        yield f"{folder}: its USES lead back to it"


def main():
    layout = Layout(pathlib.Path(sys.argv[1]))
    found = list(check_lists(layout)) + list(check_includes(layout))
    print("\n".join(found) or f"{len(layout.kind)} files of the libraries: all arrows run one way")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
