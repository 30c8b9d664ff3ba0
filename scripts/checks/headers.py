#!/usr/bin/env python3
"""Each header compiles alone: an installed one as C++17 and C++20, an internal one as C++20,
each with g++ and with clang++. The argument is the `layout.txt` of a build directory.
"""

import concurrent.futures
import itertools
import os
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wnon-virtual-dtor", "-Werror"]


def compilers():
    clang = shutil.which("clang++-14") or shutil.which("clang++")
    gcc = shutil.which("g++")
    if not (clang and gcc):
        sys.exit("needs g++ and clang++")
    return gcc, clang


def cases(layout):
    """Yields (header, language version)."""
    for line in layout.read_text().splitlines():
        word, folder, *rest = line.split()
        versions = {"HEADERS": ("c++17", "c++20"), "INTERNAL": ("c++20",)}.get(word, ())
        for version in versions:
            if rest[0].endswith(".h"):
                yield f"{folder}/{rest[0]}", version


def compile_alone(header, version, compiler):
    """Includes the header twice, so that its guard is seen to work; returns what was said."""
    command = [compiler, f"-std={version}", "-fsyntax-only", *WARNINGS, f"-I{ROOT}", "-xc++", "-"]
    source = f'#include "{header}"\n' * 2
    done = subprocess.run(command, input=source, capture_output=True, text=True)
    if done.returncode == 0:
        return ""
    return f"{header} alone, {os.path.basename(compiler)} -std={version}:\n{done.stderr}"


def main():
    jobs = list(itertools.product(cases(pathlib.Path(sys.argv[1])), compilers()))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        said = list(pool.map(lambda job: compile_alone(*job[0], job[1]), jobs))
    failed = [text for text in said if text]
    print("\n".join(failed) or f"{len(jobs)} compilations of single headers")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
