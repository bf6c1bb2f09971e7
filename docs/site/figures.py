"""Pages of the site that show stored figures: the benchmark, few indices, and reliability."""

import html
import re


def escaped(text):
    """The text with `code` as such."""
    return re.sub(r'`([^`]*)`', r'<code>\1</code>', html.escape(text, quote=False))


def named(text):
    """A name that may be broken after its underscores."""
    return html.escape(text).replace('_', '_<wbr>')


def number(value, digits=3):
    """The significant digits of a figure, once it is rounded; a dash if it was not measured."""
    if value is None:
        return '–'
    if value == 0:
        return '0'
    places = digits - 1
    while places > 0 and sum(map(str.isdigit, f'{value:.{places}f}')) > digits:
        places -= 1
    # A small figure keeps its first digit.
    while round(value, places) == 0:
        places += 1
    return f'{value:,.{places}f}'


def table(head, rows):
    """A table that scrolls by itself. Cells are HTML; the first of a row names it."""
    lines = ['<div class="scroll" tabindex="0"><table class="figures">', '<thead><tr>']
    lines += [f'<th scope="col">{cell}</th>' for cell in head]
    lines.append('</tr></thead><tbody>')
    for row in rows:
        lines.append(f'<tr><th scope="row">{row[0]}</th>' + ''.join(f'<td>{cell}</td>' for cell in row[1:]) + '</tr>')
    return '\n'.join([*lines, '</tbody></table></div>\n'])


def best_marked(values, digits):
    """The figures as cells, the smallest in bold."""
    known = [value for value in values if value is not None]
    return [f'<strong>{number(value, digits)}</strong>' if known and value == min(known) else number(value, digits)
            for value in values]


class Run:
    """One run of the benchmark."""

    def __init__(self, results):
        self.results = results
        self.by_name = {each['name']: each for each in results['measurements']}

    def contender(self, measurement, name):
        for each in self.by_name.get(measurement, {'contenders': []})['contenders']:
            if each['name'] == name:
                return each
        return None

    def models(self, prefix):
        names = [name for name in self.by_name if name.startswith(f'{prefix}/')]
        return sorted((name.partition('/')[2] for name in names),
                      key=lambda model: not self.by_name[f'{prefix}/{model}']['realModel'])

    def environment(self):
        entries = self.results['environment'].items()
        return ', '.join(html.escape(f'{value}' if name in ('processor', 'compiler') else f'{name} {value}')
                         for name, value in sorted(entries, key=lambda entry: entry[0] not in ('processor', 'compiler')))


def printed_rows(text):
    """Rows of a table, as `make bench` prints it: measurement, contender and milliseconds."""
    measurement = ''
    for line in text.splitlines():
        if heading := re.fullmatch(r'(\w+/.+), per \w+', line):
            measurement = heading[1]
        elif row := re.fullmatch(r'  (\S.*?) {2,}([\d.]+)(?: +(?:[\d.]+|-)){5}', line):
            yield measurement, row[1], float(row[2])


def differing_rows(run, text):
    """Printed rows that are not those of the run."""
    differing = []
    for measurement, name, milliseconds in printed_rows(text):
        contender = run.contender(measurement, name)
        if contender is None or abs(contender['medianSeconds'] * 1e3 - milliseconds) > 0.006 * milliseconds + 0.005:
            differing.append(f'{measurement}: {name}')
    return differing


TIMED = {'buildPrimitives': 'buildPrimitives', 'effort 0': 'buildStripBuffer, effort 0',
         'effort 1': 'buildStripBuffer, effort 1', 'effort 2': 'buildStripBuffer, effort 2',
         'effort 3': 'buildStripBuffer, effort 3', 'graph': 'graph', 'meshoptimizer': 'meshoptimizer',
         'OpenMesh': 'OpenMesh'}
PEERS = ('meshoptimizer', 'OpenMesh')


def strip_times(run):
    rows = []
    for model in run.models('strips'):
        contenders = [run.contender(f'strips/{model}', name) for name in TIMED.values()]
        rows.append([named(model), number(next(each['elements'] for each in contenders if each)),
                     *best_marked([each and each['nanosecondsPerElement'] for each in contenders], 3)])
    return table(['model', 'triangles', *TIMED], rows)


def every_row(measurement):
    columns = {'ms': lambda each: each['medianSeconds'] * 1e3, 'ns each': lambda each: each['nanosecondsPerElement'],
               'to peer': lambda each: each['ratioToBestPeer'], 'to limit': lambda each: each['ratioToLimit'],
               'indices': lambda each: each['indices'] and each['indices'] / each['elements'],
               'bytes': lambda each: each['peakBytesPerElement']}
    return table([f'per {measurement["unit"]}', *columns],
                 [[html.escape(each['name']), *(number(value(each), 4 if name == 'indices' else 3)
                                                for name, value in columns.items())]
                  for each in measurement['contenders']])


def goals(run):
    rows = []
    for goal in run.results['goals']:
        mark = {'met': 'good', 'missed': 'bad'}.get(goal['verdict'], 'quiet')
        rows.append([html.escape(goal['goal']), number(goal['measured'], 4), number(goal['atMost'], 4),
                     f'<span class="{mark}">{html.escape(goal["verdict"])}</span>'])
    return table(['goal', 'measured', 'at most', ''], rows)


SUBJECTS = {'strips': 'Strips', 'passes': 'Passes', 'bound': 'The proof of the minimum', 'search': 'Long searches',
            'adjacency': 'Adjacency', 'alone': 'Adjacency, measured first', 'edges': 'Edges', 'weld': 'Welding',
            'operations': 'Mesh operations', 'bulk': 'Whole buffers', 'meshes': 'Whole meshes', 'growth': 'Growth',
            'quiet': 'Strips again, on a quiet machine', 'busy': 'Strips beside a process that streams memory'}


def benchmark(run, performance_page):
    """The page of the benchmark: title and HTML."""
    parts = ['<h1>Benchmark</h1>',
             f'<p>One run of <code>make bench</code> on one core: {run.environment()}. '
             f'<a href="{performance_page}">Performance</a> explains the method and the rows.</p>',
             '<h2 id="strips">Strips</h2>',
             '<p>Nanoseconds per triangle; the fastest of each row is bold. The efforts are those of '
             '<code>buildStripBuffer</code>. meshoptimizer and OpenMesh do the same work, OpenMesh including the '
             'construction of its mesh.</p>', strip_times(run),
             '<h2 id="goals">Goals</h2>',
             '<p>Ratios, unless a unit is named. Goals that this run missed are not met yet.</p>', goals(run),
             '<h2 id="rows">All rows</h2>',
             '<p>“To peer” is the ratio to the fastest library that does all of the work, “to limit” that to the time '
             'in which the machine copies, reads or scales the same bytes. Indices and bytes of memory are per triangle '
             'or element.</p>']
    groups = {}
    for name, measurement in run.by_name.items():
        groups.setdefault(name.partition('/')[0], []).append(measurement)
    for group, measurements in groups.items():
        parts.append(f'<details><summary>{html.escape(SUBJECTS.get(group, group))}</summary>')
        for measurement in measurements:
            subject = measurement['name'].partition('/')[2]
            subject = f'{int(subject):,} triangles' if subject.isdigit() else subject
            parts += [f'<h3>{html.escape(subject)}</h3>', every_row(measurement)]
        parts.append('</details>')
    return 'Benchmark', '\n'.join(parts)


SEARCHES = {'effort 4': ('search', 'buildStripBuffer, effort 4, 60 us'), 'effort 3': ('strips', 'buildStripBuffer, effort 3'),
            'effort 2': ('strips', 'buildStripBuffer, effort 2'), 'effort 1': ('strips', 'buildStripBuffer, effort 1'),
            'effort 0': ('strips', 'buildStripBuffer, effort 0'), 'meshoptimizer': ('strips', 'meshoptimizer'),
            'OpenMesh': ('strips', 'OpenMesh')}


def per_triangle(contender, member):
    count = contender and contender[member]
    return count / contender['elements'] if count else None


def fewest(run, strips_page):
    """The page of few indices: title and HTML."""
    by_restart = []
    by_degenerates = []
    for model in run.models('strips'):
        least = per_triangle(run.contender(f'bound/{model}', 'minIndexCount'), 'indices')
        found = [per_triangle(run.contender(f'{group}/{model}', name), 'joinedByRestart')
                 for group, name in SEARCHES.values()]
        if any(found):
            by_restart.append([named(model), number(least, 4), *best_marked(found, 4)])
        found = [per_triangle(run.contender(f'strips/{model}', name), 'joinedByDegenerates')
                 for name in ('buildStripBuffer, effort 2, degen.', *PEERS)]
        if any(found):
            by_degenerates.append([named(model), *best_marked(found, 4)])
    body = ['<h1>Few indices</h1>',
            '<p>Indices per triangle: 3 for a list of triangles, 1 for an endless strip. The smallest of each row is bold. '
            f'<a href="{strips_page}">Strips with few indices</a> explains the search and the proof.</p>',
            '<h2 id="restart">Joined by restart indices</h2>',
            '<p>No strips can have fewer indices than the proven minimum. Effort 4 was given 60 µs per triangle.</p>',
            table(['model', 'proven minimum', *SEARCHES], by_restart),
            '<h2 id="degenerate">Joined by degenerate triangles</h2>',
            '<p>For formats and interfaces without restart indices.</p>',
            table(['model', 'effort 2', *PEERS], by_degenerates)]
    return 'Few indices', '\n'.join(body)


def reliability(checks, results):
    """The stored checks as a list, whose commands have room to wrap."""
    parts = ['<ul class="checks">']
    for check in checks:
        result = results.get(check.name)
        state, mark = ('not run yet', 'quiet') if result is None else ('passes', 'good') if result['passed'] else (
            ('incomplete', 'quiet') if result.get('incomplete') else ('fails', 'bad'))
        figure = '' if result is None else f'<p class="figure">{escaped(result["figure"])}</p>'
        measured = '' if result is None else f'{result["day"]}, commit {result["commit"]}, {result["seconds"]} s'
        notes = ' · '.join(filter(None, [measured, f'in <code>make test</code>: {escaped(check.short)}'.replace(
            'in <code>make test</code>: not in <code>make test</code>', 'not in <code>make test</code>')]))
        parts.append(f'<li><p><span class="{mark}">{state}</span> {escaped(check.subject)}</p>{figure}'
                     f'<pre><code>{html.escape(check.command)}</code></pre><p class="quiet">{notes}</p></li>')
    return '\n'.join([*parts, '</ul>\n'])
