"""The report of the strict host: what the removal of a trace deletes beyond what the servers wrote."""

from collections import Counter

HEADER = ["Server", "Bitness", "Mode", "Keys", "Values"]


def line(cells):
    return "| " + " | ".join(str(cell) for cell in cells) + " |"


def families(found):
    """How many captures delete something in each key, the most frequent first."""
    counts = Counter()
    for deleted in found:
        counts.update(deleted.keys | {key for key, _ in deleted.values})
    ordered = sorted(counts.items(), key=lambda item: (-item[1], item[0]))
    return ["%d of %d: %s" % (count, len(found), key) for key, count in ordered]


def total(name, found):
    affected = sum(map(bool, found))
    keys, values = (sum(len(getattr(deleted, field)) for deleted in found) for field in ("keys", "values"))
    words = "%s: %d of %d captures delete more than the server wrote, %d keys and %d values in all"
    return words % (name, affected, len(found), keys, values)


def report(results, traces, is_whole):
    """`traces` are pairs of a mode and a target. A whole run has a line for each capture that deletes something."""
    deleted = {trace: results.deleted(*trace) for trace in traces}
    lines = []
    for mode, kind in sorted({(mode, target.kind) for mode, target in traces}):
        found = [one for (its_mode, target), one in deleted.items() if (its_mode, target.kind) == (mode, kind)]
        lines.append(total("%ss in mode %s" % (kind, mode), found))
    if is_whole:
        affected = {trace: one for trace, one in deleted.items() if one}
        rows = [(target.name, target.bitness, mode, len(one.keys), len(one.values)) for (mode, target), one in affected.items()]
        lines += ["", line(HEADER), line(["---"] * len(HEADER)), *map(line, rows), "", *families(list(affected.values()))]
    return "\n".join([*lines, ""])
