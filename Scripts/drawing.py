"""Pictures as SVG that can be read on a light and on a dark page: what the scripts that draw have in common."""

from html import escape

# Classes of shapes and of texts; "odd" and "wins" set off what the picture is about.
STYLE = """
.box { fill: #eef3f8; stroke: #5b7083; } .name { fill: #1b2733; } .what { fill: #445566; }
.line { fill: none; stroke: #5b7083; stroke-width: 1.4; } .tip { fill: #5b7083; }
.odd { stroke: #b5522a; stroke-dasharray: 5 4; } .oddtip, .oddname { fill: #b5522a; }
.wins { fill: #d8f0e2; stroke: #23805a; } .winsname { fill: #1c6b4a; } .lost { text-decoration: line-through; }
@media (prefers-color-scheme: dark) {
.box { fill: #22303c; stroke: #8fa5b8; } .name { fill: #f0f4f8; } .what { fill: #b9c7d4; }
.line { stroke: #8fa5b8; } .tip { fill: #8fa5b8; }
.odd { stroke: #e58a5f; } .oddtip, .oddname { fill: #e58a5f; }
.wins { fill: #1c4433; stroke: #5fc394; } .winsname { fill: #7ed9ad; } }
"""


class Picture:
    """Shapes in the order in which they are drawn."""

    def __init__(self, width, height, maker, style=""):
        self.lines = [
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:g} {height:g}" width="{width:g}"',
            f'     height="{height:g}" font-family="sans-serif" text-anchor="middle">',
            f"<!-- Drawn by {maker}. -->",
            f"<style>{STYLE}{style}</style>",
        ]
        for kind in ("tip", "oddtip"):
            self.add(
                f'<marker id="{kind}" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" '
                'orient="auto">'
                f'<path class="{kind}" d="M0 0L8 4L0 8z"/></marker>'
            )

    def add(self, element):
        self.lines.append(element)

    def text(self, x, y, text, kind="name", size=13, anchor="middle"):
        anchor = "" if anchor == "middle" else f' text-anchor="{anchor}"'
        self.add(
            f'<text class="{kind}" x="{x:g}" y="{y:g}" font-size="{size}"{anchor}>{escape(text, quote=False)}</text>'
        )

    def path(self, way, kind="line"):
        self.add(f'<path class="{kind}" d="{way}"/>')

    def arrow(self, way, kind=""):
        self.add(f'<path class="{" ".join(["line", kind]).strip()}" marker-end="url(#{kind}tip)" d="{way}"/>')

    def box(self, x, y, width, height, name="", what="", kind="box"):
        """A box and two lines of text in its middle, of which either may be missing."""
        self.add(f'<rect class="{kind}" x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}" rx="6"/>')
        middle = y + height / 2
        if name:
            self.text(x + width / 2, middle + (-4 if what else 5), name, size=15)
        if what:
            self.text(x + width / 2, middle + (13 if name else 4), what, "what", 11)

    def __str__(self):
        return "\n".join([*self.lines, "</svg>", ""])
