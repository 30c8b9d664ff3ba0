#!/usr/bin/env python3
"""Each relative link of the pages leads to a file, and to a heading in it when it names one.
Arguments are the pages. A picture's source serves for the picture, which is made of it.
"""

import os
import pathlib
import re
import sys

FENCED = re.compile(r"^```.*?^```", re.M | re.S)
LINK = re.compile(r"\]\(([^)\s]+)\)")
ABSOLUTE = re.compile(r"[a-z]+:")


def anchors(page):
    """The headings of a page, as links name them."""
    headings = re.findall(r"^#+ (.*)$", FENCED.sub("", page.read_text()), re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def fault(page, link):
    """Why a link of a page leads nowhere, or None."""
    name, _, anchor = link.partition("#")
    target = page.parent / name if name else page
    if not target.exists() and target.suffix == ".svg":
        target = target.with_suffix(".dot")
    if not target.exists():
        return "is not there"
    return "has no such heading" if anchor and anchor not in anchors(target) else None


def main():
    links = [(page, link) for page in map(pathlib.Path, sys.argv[1:])
             for link in LINK.findall(FENCED.sub("", page.read_text()))
             if not ABSOLUTE.match(link)]  # fmt: skip
    if not links:
        sys.exit("no link found: something is wrong with this check")
    wrong = [f"{os.path.relpath(page)}: {link} {why}" for page, link in links
             if (why := fault(page, link))]  # fmt: skip
    print("\n".join(wrong) or f"{len(links)} links lead somewhere")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
