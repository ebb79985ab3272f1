"""keykit show, without a browser: what it makes of its words, and that nothing of a capture is markup. test_page.py looks at
the page in a browser."""

import base64
import hashlib
import html.parser
import json
import re

import pytest
from conftest import ROOT, keykit

KEY = "HKEY_CLASSES_ROOT\\KeyreapRoad"


class Page(html.parser.HTMLParser):
    """The elements of a page, by the rules of a parser that isn't the browser's."""

    def __init__(self, data):
        super().__init__(convert_charrefs=True)
        self.elements, self.open, self.texts = [], [], {}
        self.feed(data.decode("ascii"))
        self.close()

    def handle_starttag(self, name, attributes):
        self.elements.append((name, dict(attributes)))
        self.open.append(len(self.elements) - 1)

    def handle_data(self, data):
        if self.open:
            self.texts[self.open[-1]] = self.texts.get(self.open[-1], "") + data

    def handle_endtag(self, name):
        while self.elements[self.open.pop()][0] != name:
            pass

    def all(self, name):
        """Attributes and text of the elements of a name."""
        return [(attributes, self.texts.get(number, "")) for number, (found, attributes) in enumerate(self.elements) if found == name]

    @property
    def data(self):
        return next(json.loads(text) for attributes, text in self.all("script") if attributes.get("id") == "data")

    @property
    def policy(self):
        content = next(meta["content"] for meta, _ in self.all("meta") if meta.get("http-equiv") == "Content-Security-Policy")
        return dict(part.split(" ", 1) for part in content.split("; "))


def shown(*words):
    result = keykit("show", *words)
    assert (result.returncode, result.stderr) == (0, b"")
    return result.stdout


def test_the_page_goes_to_standard_output_or_to_the_file(desk):
    capture = desk.capture("[%s]" % KEY, '@="x"')
    printed = shown(capture)
    assert printed.startswith(b"<!DOCTYPE html>") and printed.endswith(b"</html>\n")
    assert shown(capture, "-o", desk.folder / "page.html") == b""
    assert (desk.folder / "page.html").read_bytes() == printed


def test_equal_captures_give_equal_pages(desk):
    capture = desk.capture("[%s]" % KEY, '@="x"')
    assert shown(capture, capture) == shown(capture, capture)


def test_a_capture_is_called_by_its_file(desk):
    (desk.folder / "b").mkdir()
    one, other = desk.capture("[%s]" % KEY), desk.capture("[%s]" % KEY, name="b/server.reg")
    third = desk.capture("[%s]" % KEY, name="third.reg")
    assert Page(shown(one, third)).data["captures"] == ["server.reg", "third.reg"]
    assert Page(shown(one, other)).data["captures"] == [str(one), str(other)]


def check_file(capture, *findings, digest=None):
    """The file that a check of the capture leaves beside it."""
    digest = digest or hashlib.sha1(capture.read_bytes()).hexdigest()
    report = {"format": 1, "capture": capture.name, "server": "a.dll", "digest": digest, "parts": ["whole"]}
    report.update(findings=list(findings), noise=[])
    capture.with_suffix(".check.json").write_text(json.dumps(report))


def test_findings_of_a_check_are_in_the_page_of_its_capture(desk):
    capture = desk.capture("[%s]" % KEY, '@="x"')
    check_file(capture, {"rule": "C103", "key": KEY, "value": "", "sentence": "has other data"}, {"rule": "C202", "sentence": "fails"})
    found = [finding for finding in Page(shown(capture)).data["findings"] if finding["rule"].startswith("C")]
    assert [(finding["capture"], finding["rule"], finding["sentence"]) for finding in found] == [
        (0, "C103", "has other data"),
        (0, "C202", "fails"),
    ]
    assert (found[0]["path"], found[0]["value"], found[1]["key"]) == (KEY, "", None)


def test_a_check_of_another_capture_is_refused(desk):
    capture = desk.capture("[%s]" % KEY, '@="x"')
    check_file(capture, digest="0" * 40)
    result = keykit("show", capture)
    assert (result.returncode, result.stdout) == (2, b"")
    assert b"of another capture; check the capture again" in result.stderr


def test_each_capture_has_the_findings_that_it_has_alone(desk):
    clsid = "{B29A312E-EB83-43BC-A846-E0C0563B8877}"
    program = ["[%s\\CLSID]" % KEY, '@="%s"' % clsid]
    server = ["[HKEY_CLASSES_ROOT\\CLSID\\%s\\InprocServer32]" % clsid, '@="Z:\\\\a.dll"', '"ThreadingModel"="Both"']
    old, new = desk.capture(*program, name="old.reg"), desk.capture(*program, *server, name="new.reg")
    found = [(finding["capture"], finding["rule"]) for finding in Page(shown(new, old)).data["findings"]]
    assert found == [(1, "K205")]
    assert [finding["capture"] for finding in Page(shown(old, old)).data["findings"]] == [0, 1]


@pytest.mark.parametrize(
    "words, sentence",
    [
        (["none.reg"], "none.reg: the capture can't be read"),
        (["server.reg", "-o", "none/page.html"], "none/page.html: it can't be written"),
        (["broken.reg"], "broken.reg:1:1: expected "),
        ([], "CAPTURE is required"),
    ],
)
def test_what_can_not_be_made_is_refused(desk, words, sentence):
    desk.capture("[%s]" % KEY)
    (desk.folder / "broken.reg").write_text("no capture")
    result = keykit("show", *words, cwd=desk.folder)
    assert (result.returncode, result.stdout) == (2, b"")
    assert result.stderr.decode().startswith("keykit: " + sentence)
    assert not (desk.folder / "page.html").exists()


def test_the_policy_has_the_hashes_of_the_style_and_the_script(desk):
    page = Page(shown(desk.capture("[%s]" % KEY)))

    def source(text):
        return "'sha256-%s'" % base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()

    scripts = [text for attributes, text in page.all("script") if "type" not in attributes]
    assert page.policy == {
        "default-src": "'none'",
        "script-src": " ".join(map(source, scripts)),
        "style-src": " ".join(source(text) for _, text in page.all("style")),
        "base-uri": "'none'",
        "form-action": "'none'",
        "require-trusted-types-for": "'script'",
        "trusted-types": "'none'",
    }
    assert len(scripts) == 1


def test_the_page_loads_nothing(desk):
    page = Page(shown(desk.capture("[%s]" % KEY)))
    for name, attributes in page.elements:
        assert name not in ("link", "img", "iframe", "object", "embed", "base"), name
        assert not {"src", "srcset", "style", "background", "action"} & set(attributes), (name, attributes)
        assert not [word for word in attributes if word.startswith("on")], (name, attributes)
        assert attributes.get("href", "#").startswith("#"), (name, attributes)


# Texts that would do harm as markup, as script or to a reader's eyes.
HOSTILE = [
    "</script><script>alert(1)</script>", "<!--<script>", "]]>", "<img src=x onerror=alert(1)>", "&lt;b&gt;", "'\"`${x}",
    "\u2028\u2029", "\0\x01\x7f\x85", "\u202egnp.exe\u202c", "\u2066\u2069\u200f", "\ud800", "\udc00x", "\U0001f600", "\ufeff\ufffe\uffff",
    "{{data}}", "__proto__", "constructor", "--><svg onload=alert(1)>", "\u0130\u0131\u00df",
]


def hostile_capture(desk, name="server.reg"):
    """Each text as the name of a key, as the name of a value and as data."""
    lines = []
    for text in HOSTILE:
        quoted = text.replace("\\", "\\\\").replace('"', '\\"')
        data = ",".join("%02x" % byte for byte in (text + "\0").encode("utf-16-le", "surrogatepass"))
        lines += ["[%s\\%s]" % (KEY, text), '"%s"=hex(1):%s' % (quoted, data)]
    return desk.capture(*lines, name=name)


def test_every_text_arrives_as_it_is(desk):
    data = Page(shown(hostile_capture(desk))).data
    assert {key["name"] for key in data["keys"]} == {"HKEY_CLASSES_ROOT", "KeyreapRoad", *HOSTILE}
    named = {key["name"]: key["values"][0] for key in data["keys"] if key["values"]}
    assert {name: value["name"] for name, value in named.items()} == {text: text for text in HOSTILE}
    assert {name: data["data"][value["data"][0]]["texts"] for name, value in named.items()} == {text: [text] for text in HOSTILE}


def test_no_text_of_a_capture_changes_the_page_around_it(desk):
    harmless, hostile = Page(shown(desk.capture("[%s]" % KEY, name="a.reg"))), Page(shown(hostile_capture(desk)))
    assert hostile.elements == harmless.elements
    own, texts = [number for number, (_, of) in enumerate(hostile.elements) if of.get("id") == "data"], []
    for page in (harmless, hostile):
        texts.append({number: text for number, text in page.texts.items() if number not in own})
    assert len(own) == 1 and texts[0] == texts[1]


def test_the_page_is_printable_ascii(desk):
    (desk.folder / "\u202e<b>.reg").write_bytes(hostile_capture(desk).read_bytes())
    assert re.fullmatch(rb"[\n -~]*", shown(desk.folder / "\u202e<b>.reg"))


@pytest.mark.parametrize("capture", sorted((ROOT / "tests" / "endtoend" / "golden").glob("*.reg")), ids=lambda file: file.stem)
def test_every_kind_of_capture_has_a_page(capture):
    data = Page(shown(capture, capture)).data
    assert all(key["parent"] is None or key["parent"] < number for number, key in enumerate(data["keys"]))
    pairs = [key["states"] for key in data["keys"]] + [value["data"] for key in data["keys"] for value in key["values"]]
    assert [pair for pair in pairs if pair[0] != pair[1]] == []
