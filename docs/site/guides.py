"""Markdown files of the repository as pages of the site."""

import html
import os
import re
from pathlib import Path
from urllib.parse import quote, unquote

from markdown_it import MarkdownIt

PARSER = MarkdownIt('commonmark').enable(['table', 'strikethrough'])


class Unresolved(Exception):
    """A link in a Markdown file leads to nothing."""


def anchor_of(heading, taken):
    """The anchor that code hosts give a heading: lower case, hyphens for spaces, numbered if it occurs again."""
    anchor = re.sub(r'[^\w\- ]', '', heading.lower()).replace(' ', '-')
    number = taken.get(anchor, 0)
    taken[anchor] = number + 1
    return f'{anchor}-{number}' if number else anchor


def text_of(inline):
    return ''.join(token.content for token in inline.children if token.type in ('text', 'code_inline'))


def rewrite(inline, resolve):
    for token in inline.children:
        for attribute in ('href', 'src'):
            if target := token.attrGet(attribute):
                token.attrSet(attribute, resolve(target))


def render(markdown, resolve):
    """The text as HTML, with its title and its headings of the second level as (anchor, text); `resolve` is called
    with the target of each link and image and returns what the page has instead."""
    tokens = PARSER.parse(markdown)
    taken = {}
    title = ''
    headings = []
    for i, token in enumerate(tokens):
        if token.type == 'heading_open':
            text = text_of(tokens[i + 1])
            anchor = anchor_of(text, taken)
            token.attrSet('id', anchor)
            if token.tag == 'h1' and not title:
                title = text
            elif token.tag == 'h2':
                headings.append((anchor, text))
        elif token.type == 'inline':
            rewrite(token, resolve)
    body = PARSER.renderer.render(tokens, PARSER.options, {})
    # Wide tables scroll by themselves, not with the page.
    body = body.replace('<table>', '<div class="scroll" tabindex="0"><table>').replace('</table>', '</table></div>')
    # Tables without a heading use empty cells.
    body = re.sub(r'<thead>\s*<tr>(?:\s*<th[^>]*></th>)+\s*</tr>\s*</thead>\s*', '', body)
    return title, body, headings


class Resolver:
    """Turns links between files of the repository into links between pages of the site."""

    def __init__(self, root, pages, reference):
        self.root = root
        self.pages = pages  # the page of each Markdown file, by path
        self.reference = reference  # the page of a public header, or None
        self.pictures = set()  # paths of the pictures that pages show
        self.sources = set()  # paths of other files that pages link to

    def resolve(self, source, target):
        if re.match(r'[a-z][a-z0-9+.-]*:', target, re.IGNORECASE):
            return target
        path, _, fragment = target.partition('#')
        fragment = f'#{fragment}' if fragment else ''
        if not path:
            return fragment
        return quote(self.page_of(source, unquote(path))) + fragment

    def page_of(self, source, path):
        full = os.path.normpath(Path(source).parent / path)
        if (self.root / full).is_dir():
            full = os.path.join(full, 'README.md')
        if full.startswith('..') or not (self.root / full).is_file():
            raise Unresolved(f'{source} links to {path}, which does not exist')
        if full in self.pages:
            return self.pages[full]
        if page := self.reference(full):
            return page
        if Path(full).suffix in ('.png', '.svg'):
            self.pictures.add(full)
            return full
        self.sources.add(full)
        return f'source/{full}.html'
