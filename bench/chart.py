"""A chart of rates beside those of peers, as SVG."""

from xml.sax.saxutils import escape

LABELS, BARS, VALUES, ROW, TOP, FOOT = 330, 420, 60, 22, 46, 30


def ratios(title, rows):
    """The chart of `rows`: (what is compared with what, how many times the peer's rate)."""
    most = max([1.0, *(ratio for _, ratio in rows)])
    width, height = LABELS + BARS + VALUES, TOP + ROW * len(rows) + FOOT
    x = lambda ratio: LABELS + BARS * ratio / most
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}"'
        f' height="{height}" font-family="sans-serif" font-size="13">',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        f'<text x="12" y="24" font-size="15" font-weight="bold" fill="#1b1f24">{escape(title)}</text>',
    ]
    for number in range(int(most) + 1):
        lines.append(f'<line x1="{x(number):.1f}" x2="{x(number):.1f}" y1="{TOP - 6}" y2="{height - FOOT + 4}"'
                     f' stroke="{"#57606a" if number == 1 else "#d0d7de"}"/>'
                     f'<text x="{x(number):.1f}" y="{height - 10}" text-anchor="middle" fill="#57606a">'
                     f'{number}{" = the peer" if number == 1 else ""}</text>')
    for position, (name, ratio) in enumerate(rows):
        y = TOP + ROW * position
        lines.append(f'<text x="{LABELS - 8}" y="{y + 14}" text-anchor="end" fill="#1b1f24">{escape(name)}</text>'
                     f'<rect x="{LABELS}" y="{y + 2}" width="{x(ratio) - LABELS:.1f}" height="{ROW - 7}"'
                     f' fill="{"#1a7f5a" if ratio >= 1 else "#b35900"}"/>'
                     f'<text x="{x(ratio) + 6:.1f}" y="{y + 14}" fill="#1b1f24">{ratio:.2f}</text>')
    return "\n".join([*lines, "</svg>"]) + "\n"
