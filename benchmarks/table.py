"""The table of what ./bench measures, with the aims of its rows."""

from fnmatch import fnmatchcase

# The rows that reached their aims in three runs one after another on a quiet machine (docs/performance.md). When one of them
# misses its aim, ./bench ends with status 1.
GUARDED = (
    "one server, `both`, *; bare steps",
    "one capture; export, register, export",
    "writer; reg export",
    "`./keyreap`, one server, *; regsvr32 in a session of its own",
    "what the box costs a run of `./keyreap`; *",
    "the same, each; regsvr32 in a session of its own",
    "* values in one key, *; bare steps",
    "one server, x64, `both`, after a request log of *; reading of the log",
    "replay of 10,000 events, *; read",
    "replay of 100,000 events, *; read",
    "replay of 1,000,000 events, *; read",
    "replay of 10,000,000 events, 1 % ours, each; read",
    "the same, 10,000,000 events; 10,000",
    "* operations; hash map",
    "SHA-1; OpenSSL",
    "memory, *",
)


def is_guarded(measure):
    return any(fnmatchcase(measure, pattern) for pattern in GUARDED)


def digits(value):
    """Three significant digits, or all digits of the integral part."""
    return format(round(value), ",") if value >= 100 else "%.3g" % value


class Table:
    """The rows in the order of their addition. A ratio is our figure divided by the other one. A row without an aim
    shows a bound of other rows."""

    def __init__(self, judges):
        self.rows = []
        self.judges = judges
        self.missed = 0
        self.guarded_missed = 0

    def add(self, measure, unit, ours, other, at_most=None, at_least=None):
        ratio = ours / other
        met = (at_most is None or ratio <= at_most) and (at_least is None or ratio >= at_least)
        aims = ["%s %g" % (word, aim) for word, aim in (("at most", at_most), ("at least", at_least)) if aim is not None]
        if aims and is_guarded(measure):
            aims.append("guarded")
        if self.judges and not met:
            self.missed += 1
            self.guarded_missed += "guarded" in aims
            aims.append("missed")
        figures = ["%s %s" % (digits(value), unit) for value in (ours, other)]
        self.rows.append([measure, *figures, digits(ratio), ", ".join(aims) or "-"])

    def text(self):
        rows = [["measure", "ours", "other", "ratio", "aim"], *self.rows]
        widths = [max(len(row[column]) for row in rows) for column in range(5)]
        lines = rows[:1] + [["-" * width for width in widths]] + rows[1:]
        return "\n".join("| %s |" % " | ".join(word.ljust(width) for word, width in zip(row, widths)) for row in lines)
