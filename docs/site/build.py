#!/usr/bin/env python3
"""Builds the site: the guides, figures from their JSON, a gallery of reports, and the reference that Doxygen has made.

usage: build.py TOOL MODELS REFERENCE DIRECTORY
TOOL: vexamesh; MODELS: the models of bench/models/fetch.sh; REFERENCE: Doxygen's HTML; DIRECTORY is replaced.
"""

import base64
import html
import importlib.util
import json
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

import figures
import guides
import links

ROOT = Path(__file__).resolve().parents[2]
SITE = Path(__file__).resolve().parent
TEST_MODELS = Path('/usr/share/assimp/models')

# Every page of the navigation, by group: (page, name, Markdown file if it is made of one).
GROUPS = {
    'Start': [('index.html', 'vexaMesh', 'README.md'), ('tasks.html', 'I want to …', 'docs/tasks.md'),
              ('gallery.html', 'Gallery', None)],
    'Library': [('reference/index.html', 'Reference', None), ('strips.html', 'Strips with few indices', 'docs/strips.md'),
                ('internals.html', 'Internals', 'docs/internals.md')],
    'Tool': [('tool.html', 'Files', 'docs/tool.md'), ('clusters.html', 'A million files', 'docs/clusters.md')],
    'Packages': [('python.html', 'Python', 'python/README.md'), ('npm.html', 'JavaScript', 'npm/README.md'),
                 ('packaging.html', 'Package managers', 'packaging/README.md')],
    'Figures': [('benchmark.html', 'Benchmark', None), ('fewest.html', 'Few indices', None),
                ('performance.html', 'Performance', 'docs/performance.md'),
                ('reliability.html', 'Reliability', 'docs/reliability.md')],
    'Project': [('contributing.html', 'Contributing', 'CONTRIBUTING.md'),
                ('layers.html', 'Layers of the tool', 'tools/vexamesh/README.md'),
                ('dependencies.html', 'Dependencies', 'docs/dependencies.md'),
                ('changelog.html', 'Changes', 'CHANGELOG.md'), ('security.html', 'Security', 'SECURITY.md')],
}


class Exhibit(NamedTuple):
    name: str
    model: str
    options: list
    title: str
    text: str


EXHIBITS = [
    Exhibit('dragon', '{models}/dragon.off', ['--join', 'restart'], 'Stanford dragon',
            'A scan of 871,414 triangles in one mesh, joined by restart indices.'),
    Exhibit('engine', '{tests}/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb', [], 'Two-cylinder engine',
            'A CAD model of 29 meshes, several of them shown more than once, joined by degenerate triangles.'),
    Exhibit('elephant', '{models}/refined_elephant.off', ['--join', 'restart', '--effort', '3'], 'Elephant',
            'A subdivided surface, whose vertices mostly have six triangles, searched at effort 3.'),
]


def reference_page(path):
    """Doxygen's page of a public header."""
    match = re.fullmatch(r'(?:vexa/mesh|vexa|logging)/(\w+)\.h', path)
    return f'reference/{match[1]}_8h.html' if match else None


def navigation(current, prefix):
    parts = []
    for group, pages in GROUPS.items():
        parts.append(f'<h2>{group}</h2><ul>')
        for page, name, _ in pages:
            here = ' aria-current="page"' if page == current else ''
            parts.append(f'<li><a href="{prefix}{page}"{here}>{html.escape(name)}</a></li>')
        parts.append('</ul>')
    return '\n'.join(parts)


class Site:
    def __init__(self, directory):
        self.directory = directory
        self.template = (SITE / 'page.html').read_text(encoding='utf-8')

    def write(self, page, title, body, headings=()):
        prefix = '../' * page.count('/')
        listed = ''.join(f'<li><a href="#{anchor}">{html.escape(text)}</a></li>\n' for anchor, text in headings)
        full_title = title if title == 'vexaMesh' else f'{title} – vexaMesh'
        values = {'title': html.escape(full_title), 'prefix': prefix, 'pages': navigation(page, prefix), 'body': body,
                  'headings': f'<nav class="headings" aria-label="On this page">\n<h2>On this page</h2><ul>{listed}</ul>\n</nav>'
                              if listed else ''}
        path = self.directory / page
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(re.sub(r'\{\{(\w+)\}\}', lambda match: values[match[1]], self.template), encoding='utf-8')


def load_reliability():
    spec = importlib.util.spec_from_file_location('reliability', ROOT / 'tests/reliability/reliability.py')
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def guide_text(file):
    """The Markdown of a guide; checks of reliability are listed from their JSON instead of in a table."""
    text = (ROOT / file).read_text(encoding='utf-8')
    if file == 'docs/reliability.md':
        module = load_reliability()
        results = json.loads(module.RESULTS.read_text(encoding='utf-8'))
        stored = module.table(results)
        if stored not in text:
            sys.exit(f'{file} does not hold the table of {module.RESULTS}')
        text = text.replace(stored, figures.reliability(module.CHECKS, results))
    return text


def write_guides(site):
    pages = {file: page for group in GROUPS.values() for page, _, file in group if file}
    resolver = guides.Resolver(ROOT, pages, reference_page)
    for file, page in pages.items():
        site.write(page, *guides.render(guide_text(file), lambda target, file=file: resolver.resolve(file, target)))
    for file in resolver.pictures:
        (site.directory / file).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / file, site.directory / file)
    for file in resolver.sources:
        code = html.escape((ROOT / file).read_text(encoding='utf-8'), quote=False)
        site.write(f'source/{file}.html', file, f'<h1>{html.escape(Path(file).name)}</h1>\n'
                   f'<p class="quiet"><code>{html.escape(file)}</code></p>\n<pre><code>{code}</code></pre>')


def write_figures(site):
    run = figures.Run(json.loads((ROOT / 'docs/performance/results.json').read_text(encoding='utf-8')))
    if differing := figures.differing_rows(run, (ROOT / 'docs/performance.md').read_text(encoding='utf-8')):
        sys.exit('\n'.join(['build.py: rows of docs/performance.md are not those of docs/performance/results.json; '
                            'both are to be of one run:', *differing]))
    site.write('benchmark.html', *figures.benchmark(run, 'performance.html'))
    site.write('fewest.html', *figures.fewest(run, 'strips.html'))


def figures_of(total):
    """Figures of a report, as names and values."""
    triangles = f'{total["triangles"]:,}'
    if empty := total['degenerateTriangles']:
        triangles += f'; {empty:,} more draw nothing, but have indices'
    figure = f'{total["indicesBefore"] / total["triangles"]:.3f} → <strong>{total["indicesPerTriangle"]:.3f}</strong>'
    least = total.get('minIndicesPerTriangle')
    return [('triangles', triangles), ('strips', f'{total["strips"]:,}'), ('indices per triangle', figure),
            ('proven minimum', f'{least:.3f}' if least else '–')]


def exhibit(tool, models, directory, each):
    """Writes a report; returns it as an entry of the gallery."""
    model = each.model.format(models=models, tests=TEST_MODELS)
    page = directory / 'gallery' / f'{each.name}.html'
    made = subprocess.run([tool, 'report', model, '-o', page, *each.options, '--json'], stdout=subprocess.PIPE, check=True,
                          encoding='utf-8')
    total = json.loads(made.stdout)['total']
    # The page contains a picture for previews, which the gallery shows too.
    picture = re.search('"og:image" content="data:image/png;base64,([^"]*)"', page.read_text(encoding='utf-8'))[1]
    (directory / 'gallery' / f'{each.name}.png').write_bytes(base64.b64decode(picture))
    rows = [*figures_of(total), ('page', f'{page.stat().st_size / 1e6:.1f} MB')]
    details = ''.join(f'<div><dt>{name}</dt><dd>{value}</dd></div>' for name, value in rows)
    command = ' '.join(['vexamesh report', Path(model).name, '-o', f'{each.name}.html', *each.options])
    return (f'<li><a href="gallery/{each.name}.html"><img src="gallery/{each.name}.png" alt="" width="800" '
            f'height="420">{html.escape(each.title)}</a><p>{html.escape(each.text)}</p><dl>{details}</dl>'
            f'<pre><code>{html.escape(command)}</code></pre></li>')


def write_gallery(site, tool, models):
    (site.directory / 'gallery').mkdir()
    entries = [exhibit(tool, models, site.directory, each) for each in EXHIBITS]
    site.write('gallery.html', 'Gallery',
               '<h1>Gallery</h1>\n<p>Reports of <code>vexamesh report</code>: each strip in a 3D view, and the figures of the '
               'file. Each report is one self-contained file.</p>\n<ul class="gallery">' + '\n'.join(entries) + '</ul>')


def copy_reference(site, reference):
    shutil.copytree(reference, site.directory / 'reference')
    wanted = ('index.html', 'gallery.html', 'benchmark.html')
    names = {page: name for group in GROUPS.values() for page, name, _ in group}
    back = ' · '.join(f'<a href="../{page}">{"Guides" if page == "index.html" else names[page]}</a>' for page in wanted)
    for page in (site.directory / 'reference').glob('*.html'):
        text = page.read_text(encoding='utf-8')
        page.write_text(re.sub(r'(<div id="projectbrief">).*?(</div>)', lambda match: match[1] + back + match[2], text),
                        encoding='utf-8')


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    tool, models, reference, directory = (Path(argument).resolve() for argument in sys.argv[1:])
    part = directory.with_name(directory.name + '.part')
    shutil.rmtree(part, ignore_errors=True)
    part.mkdir(parents=True)
    site = Site(part)
    try:
        write_guides(site)
    except guides.Unresolved as error:
        sys.exit(f'build.py: {error}')
    write_figures(site)
    shutil.copy(SITE / 'style.css', part / 'style.css')
    copy_reference(site, reference)
    write_gallery(site, tool, models)
    faults, found, pages = links.check(part)
    if faults:
        sys.exit('\n'.join(['build.py: links lead nowhere:', *faults]))
    shutil.rmtree(directory, ignore_errors=True)
    os.rename(part, directory)
    print(f'{directory}/index.html: {pages} pages, {found} links checked')


if __name__ == '__main__':
    main()
