"""The site: guides as pages, figures from their JSON, and the check of its links."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / 'docs/site'))

import build
import figures
import guides
import links


def body_of(markdown, resolve=lambda target: target):
    return guides.render(markdown, resolve)[1]


class Guides(unittest.TestCase):
    def test_headings_have_the_anchors_of_code_hosts(self):
        title, body, headings = guides.render('# The `tool`\n\n## One, two\n\n## One, two\n', lambda target: target)
        self.assertEqual(title, 'The tool')
        self.assertEqual(headings, [('one-two', 'One, two'), ('one-two-1', 'One, two')])
        self.assertIn('<h2 id="one-two-1">', body)

    def test_wide_tables_scroll_by_themselves(self):
        body = body_of('| a | b |\n|---|---|\n| 1 | 2 |\n')
        self.assertRegex(body, r'<div class="scroll" tabindex="0"><table>\s*<thead>(.|\n)*</table></div>')

    def test_heads_of_empty_cells_are_left_out(self):
        body = body_of('| | |\n|---|---|\n| 1 | 2 |\n')
        self.assertNotIn('<thead>', body)
        self.assertIn('<td>1</td>', body)

    def test_links_in_code_are_text(self):
        self.assertIn('<code>[a](b.md)</code>', body_of('`[a](b.md)`', lambda target: self.fail(target)))


class Gallery(unittest.TestCase):
    def test_explains_more_than_three_indices_per_triangle(self):
        total = {'triangles': 2000, 'degenerateTriangles': 1000, 'indicesBefore': 9000, 'indicesPerTriangle': 1.5, 'strips': 7}
        rows = dict(build.figures_of(total))
        self.assertEqual(rows['triangles'], '2,000; 1,000 more draw nothing, but have indices')
        self.assertEqual(rows['indices per triangle'], '4.500 → <strong>1.500</strong>')
        self.assertEqual(dict(build.figures_of(total | {'degenerateTriangles': 0}))['triangles'], '2,000')


class LinksBetweenGuides(unittest.TestCase):
    def setUp(self):
        self.resolver = guides.Resolver(ROOT, {'docs/tool.md': 'tool.html', 'python/README.md': 'python.html'},
                                        build.reference_page)

    def test_lead_to_pages(self):
        self.assertEqual(self.resolver.resolve('README.md', 'docs/tool.md#writing'), 'tool.html#writing')
        self.assertEqual(self.resolver.resolve('docs/clusters.md', 'tool.md'), 'tool.html')
        self.assertEqual(self.resolver.resolve('README.md', 'python/'), 'python.html')

    def test_to_the_same_page_and_to_the_web_stay(self):
        self.assertEqual(self.resolver.resolve('README.md', '#install'), '#install')
        self.assertEqual(self.resolver.resolve('README.md', 'https://example.org/a'), 'https://example.org/a')

    def test_to_the_web_keep_their_escapes_and_case(self):
        for target in ('https://example.org/a%20b%2Fc%23d', 'MAILTO:a@example.org', 'git+ssh://example.org/a'):
            body = body_of(f'[a]({target})', lambda each: self.resolver.resolve('README.md', each))
            self.assertIn(f'href="{target}"', body)

    def test_to_names_with_spaces_and_signs_are_escaped(self):
        with tempfile.TemporaryDirectory() as directory:
            (Path(directory) / 'a b#c.txt').write_text('', encoding='utf-8')
            resolver = guides.Resolver(Path(directory), {}, build.reference_page)
            body = body_of('[a](a%20b%23c.txt#L%201)', lambda each: resolver.resolve('README.md', each))
        self.assertIn('href="source/a%20b%23c.txt.html#L%201"', body)
        self.assertEqual(resolver.sources, {'a b#c.txt'})

    def test_to_public_headers_lead_to_the_reference(self):
        self.assertEqual(self.resolver.resolve('docs/tasks.md', '../vexa/mesh/Weld.h'), 'reference/Weld_8h.html')

    def test_to_other_files_lead_to_pages_of_their_text(self):
        self.assertEqual(self.resolver.resolve('docs/tasks.md', '../examples/wireframe.cpp'),
                         'source/examples/wireframe.cpp.html')
        self.assertEqual(self.resolver.sources, {'examples/wireframe.cpp'})

    def test_to_pictures_bring_the_pictures_along(self):
        self.assertEqual(self.resolver.resolve('docs/strips.md', 'strips/stars.svg'), 'docs/strips/stars.svg')
        self.assertEqual(self.resolver.pictures, {'docs/strips/stars.svg'})

    def test_to_nothing_are_refused(self):
        for target in ('docs/tools.md', '../outside.md', 'docs/no directory/'):
            with self.assertRaisesRegex(guides.Unresolved, 'README.md links to .* does not exist'):
                self.resolver.resolve('README.md', target)


class Figures(unittest.TestCase):
    results = {
        'environment': {'processor': 'P', 'peer': '1.0'},
        'goals': [{'goal': 'a < b', 'measured': None, 'atMost': 1.0, 'verdict': 'not measured'}],
        'measurements': [{'name': 'strips/a_b', 'unit': 'triangle', 'realModel': True, 'contenders': [
            {'name': name, 'elements': 1000.0, 'nanosecondsPerElement': nanoseconds, 'medianSeconds': nanoseconds * 1e-6,
             'ratioToBestPeer': None, 'ratioToLimit': None, 'indices': None, 'joinedByRestart': restart,
             'joinedByDegenerates': 0, 'peakBytesPerElement': None}
            for name, nanoseconds, restart in (('buildStripBuffer, effort 2', 40.0, 1250), ('meshoptimizer', 50.0, 1500))]}],
    }

    def test_have_significant_digits(self):
        self.assertEqual([figures.number(value) for value in (0.3657, 1.2691, 94.33, 1813.66, 0, None)],
                         ['0.37', '1.27', '94.3', '1,814', '0', '–'])
        self.assertEqual(figures.number(1.26914, 4), '1.269')

    def test_have_the_digits_of_the_rounded_value(self):
        self.assertEqual([figures.number(value) for value in (0.0004, 9.996, 99.96, 999.6)], ['0.0004', '10.0', '100', '1,000'])
        self.assertEqual(figures.number(9999.6, 4), '10,000')

    def test_the_smallest_of_a_row_is_bold(self):
        self.assertEqual(figures.best_marked([2.0, None, 1.0], 3), ['2.00', '–', '<strong>1.00</strong>'])

    def test_of_a_run_are_those_of_its_json(self):
        run = figures.Run(self.results)
        _, fewest = figures.fewest(run, 'strips.html')
        self.assertRegex(fewest, r'a_<wbr>b</th><td>–</td><td>–</td><td>–</td><td><strong>1.250</strong></td>')
        self.assertIn('<td>1.500</td>', fewest)
        _, benchmark = figures.benchmark(run, 'performance.html')
        self.assertIn('<td><strong>40.0</strong></td>', benchmark)
        self.assertIn('a &lt; b', benchmark)

    def test_of_another_run_are_found_in_a_printed_table(self):
        run = figures.Run(self.results)
        row = '  meshoptimizer   {}   50.0   1.00   -   1.500   -'
        for milliseconds, differing in (('0.05', []), ('0.07', ['strips/a_b: meshoptimizer'])):
            text = 'strips/a_b, per triangle\n' + row.format(milliseconds)
            self.assertEqual(figures.differing_rows(run, text), differing)

    def test_of_reliability_say_what_was_not_run_and_what_failed(self):
        checks = [build.load_reliability().Check(name, 'A `check`', 'a && b', (), 'all of it') for name in 'abc']
        result = {'figure': '1 < 2', 'commit': 'c0ffee', 'day': '2026-01-01', 'seconds': 3}
        text = figures.reliability(checks, {'a': {**result, 'passed': True}, 'b': {**result, 'passed': False}})
        for part in ('>passes</span> A <code>check</code>', '1 &lt; 2', '>fails<', '>not run yet<', 'a &amp;&amp; b'):
            self.assertIn(part, text)

    def test_of_the_published_run_have_pages(self):
        run = figures.Run(json.loads((ROOT / 'docs/performance/results.json').read_text(encoding='utf-8')))
        printed = (ROOT / 'docs/performance.md').read_text(encoding='utf-8')
        self.assertGreater(len(list(figures.printed_rows(printed))), 50)
        self.assertEqual(figures.differing_rows(run, printed), [])
        self.assertIn('meshoptimizer', figures.benchmark(run, 'performance.html')[1])
        self.assertIn('dragon', figures.fewest(run, 'strips.html')[1])


class Links(unittest.TestCase):
    def faults_of(self, **pages):
        with tempfile.TemporaryDirectory() as directory:
            for name, text in {'style.css': '', **pages}.items():
                (Path(directory) / name.replace('_', '.')).write_text(text, encoding='utf-8')
            return links.check(directory)[0]

    def test_of_sound_pages_are_found(self):
        self.assertEqual(self.faults_of(
            a_html='<link rel="stylesheet" href="style.css"><a href="b.html#here">b</a><a href="#top">up</a>'
                   '<a href="https://example.org">elsewhere</a><img src="data:image/png;base64,">',
            b_html='<h1 id="here">b</h1><a href="a.html">a</a>'), [])

    def test_to_missing_files_and_anchors_are_faults(self):
        self.assertEqual(self.faults_of(a_html='<a href="c.html">c</a><a href="b.html#there">b</a><a href="#x">x</a>',
                                        b_html='<h1 id="here">b</h1>'),
                         ['a.html: #x has no such anchor', 'a.html: b.html#there has no such anchor',
                          'a.html: c.html does not exist'])

    def test_out_of_the_site_are_faults(self):
        self.assertEqual(self.faults_of(a_html='<a href="../b.html">b</a><a href="/c.html">c</a>'),
                         ['a.html: ../b.html is outside of the site', 'a.html: /c.html begins at the root of the host'])

    def test_that_fetch_parts_of_a_page_are_faults(self):
        self.assertEqual(self.faults_of(a_html='<script src="https://example.org/a.js"></script>'
                                               '<style>a { background: url("b.png") }</style>',
                                        style_css='@font-face { src: url(//example.org/f.woff) }'),
                         ['a.html: b.png does not exist', 'a.html: https://example.org/a.js is fetched from elsewhere',
                          'style.css: //example.org/f.woff is fetched from elsewhere'])

    def test_to_what_other_attributes_fetch_are_faults(self):
        for html in ('<img srcset="data:,a 1x, https://example.org/a 2x">', '<source srcset="b.html,  https://example.org/a">',
                     '<video src="https://example.org/a">', '<video poster="https://example.org/a">',
                     '<object data="https://example.org/a">', '<p style="background: URL(https://example.org/a)">',
                     '<style>@import "https://example.org/a";</style>', '<svg><image xlink:href="https://example.org/a"/>'):
            with self.subTest(html):
                self.assertEqual(self.faults_of(a_html=html, b_html=''),
                                 ['a.html: https://example.org/a is fetched from elsewhere'])


class Models(unittest.TestCase):
    def test_are_only_fetched_if_named_and_missing(self):
        with tempfile.TemporaryDirectory() as directory:
            models = {'dragon.off', 'bunny.off', 'sample.off'}
            for model in models:
                (Path(directory) / model).write_text('OFF', encoding='utf-8')
            subprocess.run(['sh', ROOT / 'bench/models/fetch.sh', directory, 'sample'], check=True)
            self.assertEqual(set(os.listdir(directory)), models)


class WholeSite(unittest.TestCase):
    def test_is_written_in_utf_8_in_any_locale(self):
        with tempfile.TemporaryDirectory() as directory:
            write = 'import sys, pathlib, build; build.write_guides(build.Site(pathlib.Path(sys.argv[1])))'
            subprocess.run([sys.executable, '-B', '-c', write, directory], check=True,
                           env={**os.environ, 'PYTHONPATH': str(ROOT / 'docs/site'), 'PYTHONUTF8': '0',
                                'PYTHONCOERCECLOCALE': '0', 'LC_ALL': 'C'})
            self.assertIn('<title>I want to … – vexaMesh</title>',
                          (Path(directory) / 'tasks.html').read_text(encoding='utf-8'))
            self.assertIn('<title>vexaMesh</title>', (Path(directory) / 'index.html').read_text(encoding='utf-8'))

    def test_guides_lead_to_pages_and_anchors_that_exist(self):
        with tempfile.TemporaryDirectory() as name:
            site = build.Site(Path(name))
            build.write_guides(site)
            # Made by other steps.
            others = ('style.css', 'gallery.html', 'benchmark.html', 'fewest.html', 'reference/')
            faults = [fault for fault in links.check(name)[0]
                      if not fault.split(': ')[1].replace('../', '').startswith(others)]
            self.assertEqual(faults, [])


if __name__ == '__main__':
    unittest.main()
