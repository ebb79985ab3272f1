"""What `keykit emit reg` writes is read by hivexregedit as well, entry by entry."""

import os

import pytest
from readers import MULTI_SZ, SZ, list_data, text_data
from test_emit import CAPTURES, FORMS, KEY

import hivereader


def plain(data):
    """Without the line breaks after the last entry, which no reader needs."""
    assert data.endswith(b"\r\0\n\0\r\0\n\0")
    return data[:-4]


@pytest.fixture
def reader(tmp_path):
    folder = tmp_path / "reader"
    folder.mkdir()
    return hivereader.SecondReader(folder)


def test_the_second_reader_reads_what_a_file_says(reader, desk):
    lines = [r'@="a \"b\" \\"', '"list"=hex(7):' + ",".join("%02x" % byte for byte in list_data(["x", "yz"]))]
    expected = {"K\\L": {"": (SZ, text_data('a "b" \\')), "list": (MULTI_SZ, list_data(["x", "yz"]))}, "K": {}}
    reader.add(desk.capture("[K\\L]", *lines).read_bytes())
    assert reader.read() == [{"": {}, **expected}]


def test_the_second_reader_counts_what_it_leaves_out(reader, desk):
    capture = desk.capture("[K]", '"a"="two\r\nlines"', '"\ud800"="half"', '"b"="\ufffe"', '"c"="whole"', "[K\\\udc00]", '@="x"')
    assert reader.add(capture.read_bytes()) == {"K": {"c": (SZ, text_data("whole"))}}
    assert sorted(reader.left_out.values()) == [1, 1, 1, 2]
    assert reader.read() == [{"": {}, "K": {"c": (SZ, text_data("whole"))}}]


def test_the_second_reader_reads_the_same_of_every_golden_file(reader, desk):
    files = [*CAPTURES, desk.capture("[%s]" % KEY, *(line for line, *_ in FORMS))]
    expected = [reader.add(plain(desk.emit("reg", file).stdout)) for file in files]
    for file, keys, found in zip(files, expected, reader.read()):
        assert hivereader.with_parents(keys) == found, file
    assert sum(len(values) for keys in expected for values in keys.values()) > 2000
    with open(os.environ.get("KEYREAP_REPORT", "/dev/stdout"), "a", encoding="utf-8") as report:
        report.write("%s\n" % reader.report())
