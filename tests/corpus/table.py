"""The report of the corpus: a table with one line for each server, and the totals."""

from results import unproven

HEADER = ["Server", "Bitness", "Keys", "Values", "Seconds", "Registrar", "Import", "Replay", "Trace", "Rules"]

# The rules that almost every capture needs; the table doesn't show them.
USUAL_RULES = {"keys_of_the_redirection", "implied_keys"}


def line(cells):
    return "| " + " | ".join(str(cell) for cell in cells) + " |"


class Captured:
    """The row of a captured server: its size, its time and its proofs."""

    def __init__(self, results, target):
        mode = "trace" if target.kind == "program" else "keyRedir"
        capture = results.capture(mode, target)
        self.target = target
        self.keys, self.values = len(capture), sum(len(values) for values in capture.values())
        self.seconds = results.seconds(mode, target)
        self.proofs = self.proofs_of_program(results) if target.kind == "program" else self.proofs_of_module(results)
        self.changes = results.unexplained_changes(target)

    def proofs_of_program(self, results):
        return {"Trace": results.trace_against_registrar(self.target)}

    def proofs_of_module(self, results):
        target = self.target
        return {
            "Registrar": results.against_registrar(target),
            "Import": results.against_import(target),
            "Replay": results.replay_against_harvest(target),
            "Trace": results.trace_against_harvest(target) + results.trace_against_registrar(target),
        }

    def verdict(self, proof):
        if proof not in self.proofs:
            return ""
        left = len(unproven(self.proofs[proof])) + (len(self.changes) if proof == "Trace" else 0)
        return "%d unproven" % left if left else "proven"

    def is_proven(self):
        return {self.verdict(proof) for proof in self.proofs} == {"proven"}

    def rules(self):
        found = {rule for differences in self.proofs.values() for _, rule in differences if rule}
        return ", ".join(sorted(found - USUAL_RULES)).replace("_", " ")

    def cells(self):
        counts = [self.keys, self.values, "%.2f" % self.seconds]
        verdicts = [self.verdict(proof) for proof in HEADER[5:9]]
        return [self.target.name, self.target.bitness, *counts, *verdicts, self.rules()]


class NotCaptured:
    """The row of a server that can't be captured, with the reason."""

    keys, values, seconds = 0, 0, 0

    def __init__(self, results, target):
        self.target = target
        self.reason = "an image, no type library"
        if target.kind == "module":
            errors = results.load_error(target), results.registrar_status(target)
            self.reason = "loading it gives error %d; regsvr32 ends with %d" % errors

    def is_proven(self):
        """Other programs can't register the server either."""
        return True

    def cells(self):
        return [self.target.name, self.target.bitness, *[""] * 7, self.reason]


class Table:
    def __init__(self, results):
        captured = {True: Captured, False: NotCaptured}
        self.rows = [captured[results.is_captured(target)](results, target) for target in results.targets]

    def of_kind(self, kind):
        return [row for row in self.rows if row.target.kind == kind]

    def count(self, kind):
        rows = self.of_kind(kind)
        return sum(row.is_proven() for row in rows), len(rows)

    def lines(self):
        return [line(HEADER), line(["---"] * len(HEADER)), *(line(row.cells()) for row in self.rows)]

    def totals(self):
        unloadable = sum(isinstance(row, NotCaptured) for row in self.of_kind("module"))
        sums = [sum(getattr(row, name) for row in self.rows) for name in ("keys", "values", "seconds")]
        return [
            "%d of %d modules proven or shown not to be loadable," % self.count("module"),
            "%d of them not to be loadable; %d of %d programs proven;" % (unloadable, *self.count("program")),
            "%d of %d files named .tlb shown to be images." % self.count("library"),
            "%d keys and %d values captured in %.0f seconds." % tuple(sums),
        ]
