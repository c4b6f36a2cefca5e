"""A plot of times over sizes, both axes logarithmic, as an SVG text.

Colours follow the reader's light or dark scheme; what is beside the
plug-in is dashed.
"""

import math
from dataclasses import dataclass
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 440
LEFT, RIGHT, TOP, BOTTOM = 70, 190, 40, 50

STYLE = """
  text { font: 12px sans-serif; fill: #333; }
  .title { font-size: 15px; font-weight: bold; }
  .grid { stroke: #ccc; stroke-width: 1; }
  .line { fill: none; stroke-width: 2; }
  .beside { stroke-dasharray: 6 4; }
  .any { stroke: #777; }
  .c0 { stroke: #0059b3; } .c1 { stroke: #c04000; } .c2 { stroke: #2e7d32; }
  @media (prefers-color-scheme: dark) {
    text { fill: #ddd; }
    .grid { stroke: #555; }
    .c0 { stroke: #6cb2ff; } .c1 { stroke: #ff9a5c; } .c2 { stroke: #7ddc82; }
  }
"""


@dataclass
class Series:
    label: str
    ours: dict  # {size: microseconds}
    beside: dict


class Axis:
    """Decades from the one below the least value to the one above the most."""

    def __init__(self, values, begin, end):
        self.first = math.floor(math.log10(min(values)))
        self.last = math.ceil(math.log10(max(values)))
        self.begin, self.end = begin, end

    def at(self, value):
        part = (math.log10(value) - self.first) / max(1, self.last - self.first)
        return self.begin + part * (self.end - self.begin)

    def decades(self):
        return [10.0**k for k in range(self.first, self.last + 1)]


def number(value):
    return f"{value:,.0f}" if value >= 1 else f"{value:g}"


def duration(microseconds):
    for factor, unit in ((1e6, "s"), (1e3, "ms"), (1, "µs")):
        if microseconds >= factor:
            return f"{microseconds / factor:g} {unit}"
    return f"{microseconds * 1e3:g} ns"


def grid(x, y):
    for size in x.decades():
        at = f"{x.at(size):.1f}"
        yield f'<path class="grid" d="M{at} {y.begin}V{y.end}"/>'
        yield (
            f'<text x="{at}" y="{HEIGHT - BOTTOM + 18}" '
            f'text-anchor="middle">{number(size)}</text>'
        )
    for time in y.decades():
        at = f"{y.at(time):.1f}"
        yield f'<path class="grid" d="M{x.begin} {at}H{x.end}"/>'
        yield (
            f'<text x="{LEFT - 8}" y="{float(at) + 4:.1f}" '
            f'text-anchor="end">{duration(time)}</text>'
        )


def line(times, classes, x, y):
    points = " ".join(f"{x.at(s):.1f},{y.at(t):.1f}" for s, t in times.items())
    return f'<polyline class="line {classes}" points="{points}"/>'


def legend_row(row, classes, label):
    left, at = WIDTH - RIGHT + 12, TOP + 12 + 20 * row
    return (
        f'<path class="line {classes}" d="M{left} {at}h30"/>'
        f'<text x="{left + 36}" y="{at + 4}">{escape(label)}</text>'
    )


def svg(title, our_text, beside_text, series):
    """Those without a time are left out."""
    series = [s for s in series if s.ours]
    every = [times for s in series for times in (s.ours, s.beside) if times]
    x = Axis([size for t in every for size in t], LEFT, WIDTH - RIGHT)
    y = Axis([time for t in every for time in t.values()], HEIGHT - BOTTOM, TOP)

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}">',
        f"<title>{escape(title)}</title>",
        f"<style>{STYLE}</style>",
        f'<text class="title" x="{LEFT}" y="24">{escape(title)}</text>',
        f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 10}" '
        'text-anchor="middle">interfaces, routes or OSPFv2 rows</text>',
        *grid(x, y),
    ]
    for i, s in enumerate(series):
        parts.append(line(s.ours, f"c{i}", x, y))
        parts.append(legend_row(i, f"c{i}", s.label))
        if s.beside:
            parts.append(line(s.beside, f"beside c{i}", x, y))
    rows = len(series) + 1
    parts.append(legend_row(rows, "any", our_text))
    parts.append(legend_row(rows + 1, "any beside", beside_text))
    return "\n".join(parts) + "\n</svg>\n"
