"""The tables and the plot of a run."""
import dataclasses
import statistics

BEGIN, END = "<!-- figures: begin -->", "<!-- figures: end -->"


@dataclasses.dataclass
class Row:
    name: str
    ratios: list        # to the limit, one a round
    rate: float         # MiB/s, median
    cpu: float          # seconds per GB, median

    def spread(self):
        return f"{min(self.ratios):.2f} to {max(self.ratios):.2f}"


@dataclasses.dataclass
class Sections:
    transfers: list = dataclasses.field(default_factory=list)   # (MiB, rows)
    folder: list = dataclasses.field(default_factory=list)      # (name, files a second, one a round)
    presence: list = dataclasses.field(default_factory=list)    # (what, text)
    growth: list = dataclasses.field(default_factory=list)      # (bytes, fetch, send)
    crowd: list = dataclasses.field(default_factory=list)       # (panels, idle)
    delayed: list = dataclasses.field(default_factory=list)     # (microseconds, CPU seconds a datagram, the same bare)


def table(head, rows):
    yield "| " + " | ".join(head) + " |"
    yield "|" + "---|" * len(head)
    for row in rows:
        yield "| " + " | ".join(map(str, row)) + " |"
    yield ""


def text(page):
    lines = []
    for mib, rows in page.transfers:
        lines += table((f"{mib} MiB", "ratio to the limit", "spread", "MiB/s", "client CPU s/GB"),
                       [(row.name, f"{statistics.median(row.ratios):.2f}", row.spread(), f"{row.rate:.0f}",
                         f"{row.cpu:.1f}") for row in rows])
    lines += table(("1,000 files of 4 KiB", "files/s", "spread"),
                   [(name, f"{statistics.median(rates):.0f}", f"{min(rates):.0f} to {max(rates):.0f}")
                    for name, rates in page.folder])
    lines += table(("Being there", "cost"), page.presence)
    lines += table(("Panels heard, a beacon a second each", "wake-ups/s", "CPU ms/s"),
                   [(count, f"{idle[3] / idle[0]:.0f}", f"{idle[1] / idle[0] * 1000:.1f}")
                    for count, idle in page.crowd])
    lines += table(("Answer after", "CPU a datagram", "a client that only blocks"),
                   [(f"{delay / 1000:g} ms", f"{link * 1e6:.0f} us", f"{bare * 1e6:.0f} us")
                    for delay, link, bare in page.delayed])
    lines += table(("File", *(f"{direction}{column}" for direction in ("fetch ", "send ") for column in
                              ("s/GB", "CPU s/GB", "growth MiB", "ratio to the limit with a file"))),
                   [(f"{size >> 20} MiB", *(column for run in (fetch, send) for column in
                                            (f"{run[0] / size * 1e9:.1f}", f"{run[1] / size * 1e9:.1f}",
                                             f"{run[2] / 1024:.1f}", f"{run[-1]:.2f}")))
                    for size, fetch, send in page.growth])
    return "\n".join(lines)


def plot(page):
    """Horizontal bars: median of the ratios, and a line from the least to the greatest."""
    left, width, step = 150, 420, 20
    top, body = 30, []
    for mib, rows in page.transfers:
        body.append(f'<text x="8" y="{top}" class="head">{mib} MiB</text>')
        for row in rows:
            top += step
            x = [left + width * value for value in
                 (statistics.median(row.ratios), min(row.ratios), max(row.ratios))]
            kind = "limit" if "limit" in row.name else "link" if row.name.split()[1] in ("direct", "posted") else "peer"
            body.append(f'<text x="{left - 8}" y="{top + 4}" text-anchor="end">{row.name}</text>'
                        f'<rect x="{left}" y="{top - 6}" width="{x[0] - left:.0f}" height="13" class="{kind}"/>'
                        f'<path d="M{x[1]:.0f} {top}H{x[2]:.0f}" class="spread"/>'
                        f'<text x="{max(x) + 6:.0f}" y="{top + 4}">{statistics.median(row.ratios):.2f}</text>')
        top += 2 * step
    style = ("text{font:12px sans-serif;fill:#222}.head{font-weight:bold}.limit{fill:#bbb}.link{fill:#2a6f97}"
             ".peer{fill:#d8a657}.spread{stroke:#222;stroke-width:1.5}")
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 120}" height="{top}" '
            f'role="img" aria-label="Rates as ratios to the limit"><style>{style}</style>'
            f'<rect width="100%" height="100%" fill="#fff"/>' + "\n".join(body) + "</svg>\n")


def write(page, document, image):
    figures = text(page)
    print(figures)
    if document:
        old = document.read_text()
        begin, end = old.index(BEGIN) + len(BEGIN), old.index(END)
        document.write_text(old[:begin] + "\n\n" + figures + "\n" + old[end:])
    if image:
        image.write_text(plot(page))
