#!/usr/bin/env python3
"""Each relative link of the pages leads to a file, and to a place in it when it names one.
Arguments are the pages: Markdown, where a heading is a place, and HTML, where what has an id is.
"""

import functools
import os
import pathlib
import re
import sys

FENCED = re.compile(r"^```.*?^```", re.M | re.S)
LINK = {".md": re.compile(r"\]\(([^)\s]+)\)"), ".html": re.compile(r'(?:href|src)="([^"]+)"')}
ABSOLUTE = re.compile(r"[a-z]+:")


@functools.cache
def text(page):
    """What stands on a page; in a Markdown block of code nothing is a link or a heading."""
    return FENCED.sub("", page.read_text()) if page.suffix == ".md" else page.read_text()


@functools.cache
def anchors(page):
    """The places of a page, as links name them."""
    if page.suffix == ".html":
        return set(re.findall(r'(?:id|name)="([^"]+)"', text(page)))
    headings = re.findall(r"^#+ (.*)$", text(page), re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def fault(page, link):
    """Why a link of a page leads nowhere, or None."""
    name, _, anchor = link.partition("#")
    target = page.parent / name if name else page
    if not target.exists():
        return "is not there"
    return "has no such place" if anchor and anchor not in anchors(target) else None


def main():
    links = [(page, link) for page in map(pathlib.Path, sys.argv[1:])
             for link in LINK[page.suffix].findall(text(page))
             if not ABSOLUTE.match(link)]  # fmt: skip
    if not links:
        sys.exit("no link found: something is wrong with this check")
    wrong = [f"{os.path.relpath(page)}: {link} {why}" for page, link in links
             if (why := fault(page, link))]  # fmt: skip
    print("\n".join(wrong) or f"{len(links)} links lead somewhere")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
