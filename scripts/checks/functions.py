#!/usr/bin/env python3
"""No function is longer than a screen: 50 lines, from its first line to its closing brace.

Uses universal-ctags. Shell and Python functions count like C++ ones. Arguments are the folders
to look through; each is taken relative to the project's root.
"""

import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIMIT = 50
# Names that only annotate; to ctags they would look like functions or types.
MACROS = "CUL_EXPORT,QUONUTIL_EXPORT,CUL_GUARDED_BY+,CUL_REQUIRES+,CUL_ACQUIRE+,CUL_RELEASE+"
LANGUAGES = {".h": "C++", ".cpp": "C++", ".py": "Python", "": "Sh"}


def language(path):
    """The language of a file that we check, or None."""
    if path.suffix:
        return LANGUAGES.get(path.suffix)
    with path.open("rb") as file:
        return "Sh" if file.readline().startswith(b"#!/usr/bin/env bash") else None


def functions(name, files):
    """Yields (path, line, name, number of lines) of each function in files of one language."""
    command = ["ctags", f"--languages={name}", f"--language-force={name}", "--output-format=json",
               "--fields=+neK", "-I", MACROS, "-o", "-", *files]  # fmt: skip
    listing = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for line in listing.splitlines():
        tag = json.loads(line)
        if tag.get("kind") in ("function", "method", "member") and "end" in tag:
            yield tag["path"], tag["line"], tag["name"], tag["end"] - tag["line"] + 1


def main():
    by_language = {}
    for folder in sys.argv[1:]:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.is_file() and (name := language(path)):
                by_language.setdefault(name, []).append(path.relative_to(ROOT).as_posix())
    found = [f for name, files in by_language.items() for f in functions(name, files)]
    if not found:
        sys.exit("no function found: something is wrong with this check")
    long = [f for f in found if f[3] > LIMIT]
    for path, line, name, lines in long:
        print(f"{path}:{line}: {name} has {lines} lines, and {LIMIT} are allowed")
    longest = max(found, key=lambda f: f[3])
    print(f"{len(found)} functions; the longest, {longest[2]}, has {longest[3]} lines")
    return 1 if long else 0


if __name__ == "__main__":
    sys.exit(main())
