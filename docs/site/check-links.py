#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the links of a folder of HTML pages: check-links.py FOLDER.

Whatever a page, or the search, names on the same site has to be there: pages,
places in pages, pictures, style sheets, scripts.
"""

import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    """The names of the places in a page, and what it links to."""

    def __init__(self, path):
        super().__init__()
        self.names, self.links = set(), []
        self.feed(path.read_text(encoding="utf-8", errors="replace"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if value is None:
                continue
            if name == "id" or (tag == "a" and name == "name"):
                self.names.add(value)
            elif name in ("href", "src", "data"):
                self.links.append(value)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip())
    top = Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in sorted(top.rglob("*.html"))}
    links = [(path, link) for path, page in pages.items()
             for link in page.links]
    for path in sorted(top.rglob("*.js")):
        content = path.read_text(encoding="utf-8", errors="replace")
        if path.parent.name == "search" and path.name != "search.js":
            links += [(path, link)
                      for link in re.findall(r"'([^']*\.html[^']*)'", content)]
        elif path.name in ("menudata.js", "navtreedata.js"):
            links += [(path, link)
                      for link in re.findall(r'url:"([^"]*)"', content)]
    broken = set()
    for path, link in links:
        parts = urlsplit(link)
        if parts.scheme or parts.netloc:
            if parts.scheme not in ("http", "https", "javascript", "data"):
                broken.add(f"{path.relative_to(top)}: {link}")
            continue
        target = path
        if parts.path:
            target = (path.parent / unquote(parts.path)).resolve()
        place = unquote(parts.fragment)
        if not target.is_file() or not target.is_relative_to(top) or (
                place and target in pages and
                place not in pages[target].names):
            broken.add(f"{path.relative_to(top)}: {link}")
    for each in sorted(broken):
        print(f"broken link in {each}", file=sys.stderr)
    if broken or len(pages) < 2:
        sys.exit(1)
    print(f"{len(links)} links of {len(pages)} pages lead somewhere.")


main()
