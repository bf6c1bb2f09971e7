#!/usr/bin/env python3
"""Checks the links of a directory of pages: every file and anchor that they name exists, and nothing that an attribute,
`url()` or `@import` names for display is fetched from elsewhere. Requests that scripts or pictures make are not seen.

usage: links.py DIRECTORY   (prints each fault; exits with 1 if there is one)
"""

import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

# Attributes that lead somewhere, of any element or one, and whether the page needs the target.
LINKS = {('a', 'href'): False, ('area', 'href'): False, ('link', 'href'): True, ('image', 'href'): True,
         ('use', 'href'): True, 'xlink:href': True, 'src': True, 'poster': True, ('object', 'data'): True}


class Page(HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.anchors = {'', 'top'}
        self.links = []  # (target, whether the page needs it)
        self.styles = []
        self.in_style = False
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.in_style = tag == 'style'
        for name, value in attrs:
            if name == 'id' or (tag == 'a' and name == 'name'):
                self.anchors.add(value)
            elif value is None:
                continue
            elif name == 'style':
                self.styles.append(value)
            elif name in ('srcset', 'imagesrcset'):
                self.links += [(target, True) for target in re.findall(r'(\S*[^\s,])(?:\s[^,]*)?(?:,|$)', value)]
            else:
                needed = LINKS.get((tag, name), LINKS.get(name))
                if needed is not None:
                    self.links.append((value, needed))

    def handle_endtag(self, tag):
        self.in_style = False

    def handle_data(self, data):
        if self.in_style:
            self.styles.append(data)


def addresses_in(style):
    return re.findall(r'(?:url\(\s*["\']?|@import\s*["\'])([^"\')]+)', re.sub(r'/\*.*?\*/', '', style, flags=re.DOTALL),
                      re.IGNORECASE)


def fault_of(root, file, target, needed, anchors):
    """Why the target, named in a file, leads nowhere; None if it does not."""
    parts = urlsplit(target)
    if parts.scheme in ('data', 'javascript', 'mailto'):
        return None
    if parts.scheme or parts.netloc:
        return 'is fetched from elsewhere' if needed else None
    if target.startswith('/'):
        return 'begins at the root of the host'
    path = file if not parts.path else (file.parent / unquote(parts.path)).resolve()
    if not path.is_relative_to(root):
        return 'is outside of the site'
    if not path.is_file():
        return 'does not exist'
    if unquote(parts.fragment) not in anchors.get(path, {unquote(parts.fragment)}):
        return 'has no such anchor'
    return None


def check(directory):
    """One line for each fault, the number of links, and that of pages."""
    root = Path(directory).resolve()
    pages = {file: Page(file.read_text(encoding='utf-8', errors='replace')) for file in sorted(root.rglob('*.html'))}
    anchors = {file: page.anchors for file, page in pages.items()}
    found = []
    for file, page in pages.items():
        found += [(file, target, needed) for target, needed in page.links]
        found += [(file, target, True) for style in page.styles for target in addresses_in(style)]
    for file in sorted(root.rglob('*.css')):
        found += [(file, target, True) for target in addresses_in(file.read_text(encoding='utf-8', errors='replace'))]
    faults = []
    for file, target, needed in found:
        if fault := fault_of(root, file, target, needed, anchors):
            faults.append(f'{file.relative_to(root)}: {target} {fault}')
    return sorted(set(faults)), len(found), len(pages)


def main():
    if len(sys.argv) != 2 or not Path(sys.argv[1]).is_dir():
        sys.exit(__doc__)
    faults, links, pages = check(sys.argv[1])
    print('\n'.join([*faults, f'{links} links in {pages} pages, {len(faults)} faults']))
    sys.exit(1 if faults or not pages else 0)


if __name__ == '__main__':
    main()
