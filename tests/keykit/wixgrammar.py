"""The grammar of the fragments for WiX in the folder wix. Who wrote it knew the published reference of the schema, and nothing
of keykit's writer."""

from functools import cache
from pathlib import Path

from lxml import etree, isoschematron

FOLDER = Path(__file__).parent / "wix"


@cache
def grammar_of(kind):
    return etree.RelaxNG(file=str(FOLDER / f"{kind}.rng"))


@cache
def rules():
    return isoschematron.Schematron(file=str(FOLDER / "rules.sch"), store_report=True)


def complaints(kind, text):
    """What is wrong with the bytes of a fragment for wix or wix3: a sentence for each place, none if it is right."""
    document = etree.fromstring(text).getroottree()
    grammar = grammar_of(kind)
    if not grammar.validate(document):
        return [f"line {error.line}: {error.message}" for error in grammar.error_log]
    if rules().validate(document):
        return []
    failures = rules().validation_report.iter("{http://purl.oclc.org/dsdl/svrl}failed-assert")
    return [f"{failure.get('location')}: {failure.findtext('{*}text')}" for failure in failures]
