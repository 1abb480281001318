"""Draws the results of engine_bench compare as an SVG."""

import json
import math
from xml.sax.saxutils import escape

LABELS = {"engine": "engine", "engine_without_md5": "engine, no MD5", "plain": "plain form",
          "plain_without_md5": "plain form, no MD5",
          "hyperscan_same_work": "libhyperscan, same work",
          "hyperscan_same_work_without_md5": "same work, no MD5",
          "hyperscan_raw": "libhyperscan, raw bytes"}
COLOURS = {"engine": "#1b6ca8", "engine_without_md5": "#7fb2d9", "plain": "#777777",
           "plain_without_md5": "#bbbbbb", "hyperscan_same_work": "#d9822b",
           "hyperscan_same_work_without_md5": "#e5a15f",
           "hyperscan_raw": "#f0c08a"}
LEFT, WIDTH, BAR, GAP, TOP = 190, 640, 14, 26, 40


def draw(results):
    """The SVG of a results file: bars of MB per CPU second on a logarithmic scale, longer is better."""
    rows = json.loads(results.read_text())["compare"]["rows"]
    rates = [rate for row in rows for rate in row["megabytes_per_cpu_second"].values()]
    low, high = math.floor(math.log10(min(rates))), math.ceil(math.log10(max(rates)))
    scale = WIDTH / max(1, high - low)
    out, y = [], TOP
    for row in rows:
        y += GAP
        out.append(text(10, y - 6, f"{row['kind']} set of {row['signatures']:,} signatures",
                        "font-weight='bold'"))
        for name, rate in row["megabytes_per_cpu_second"].items():
            length = max(1.0, (math.log10(rate) - low) * scale)
            out.append(text(LEFT - 6, y + BAR - 3, LABELS[name], "text-anchor='end'"))
            out.append(f"<rect x='{LEFT}' y='{y}' width='{length:.1f}' height='{BAR - 2}'"
                       f" fill='{COLOURS[name]}'/>")
            out.append(text(LEFT + length + 4, y + BAR - 3, f"{rate:,.1f}"))
            y += BAR
    lines = []
    for power in range(low, high + 1):
        x = LEFT + (power - low) * scale
        lines.append(f"<line x1='{x}' y1='{TOP}' x2='{x}' y2='{y}' stroke='#dddddd'/>")
        lines.append(text(x, TOP - 6, f"{10.0 ** power:g}", "text-anchor='middle'"))
    title = text(10, 18, "Raw MB per CPU second, logarithmic", "font-weight='bold'")
    return "\n".join([f"<svg xmlns='http://www.w3.org/2000/svg' width='{LEFT + WIDTH + 80}'"
                      f" height='{y + 20}' font-family='sans-serif' font-size='11'>",
                      "<rect width='100%' height='100%' fill='white'/>",
                      title, *lines, *out, "</svg>"]) + "\n"


def text(x, y, content, attributes=""):
    return f"<text x='{x:.1f}' y='{y}' {attributes}>{escape(content)}</text>"
