"""scripts/coverage.sh: what it prints about gcov's reports."""

import gzip
import json

from conftest import ROOT, run

SOURCE = "int Twice(int x) {\n    return 2 * x;\n}\nint Half(int x) {\n    return x / 2;\n}\n"


def counted(tmp_path, reports):
    """What coverage.py prints; a report is a build, a source of the tree and its runs of lines."""
    for number, (build, name, runs) in enumerate(reports):
        source = tmp_path / name
        source.parent.mkdir(parents=True, exist_ok=True)
        source.write_text(SOURCE)
        lines = [{"line_number": line, "count": count} for line, count in runs.items()]
        folder = tmp_path / "gcov" / build
        folder.mkdir(parents=True, exist_ok=True)
        with gzip.open(folder / f"{number}.gcov.json.gz", "wt") as stream:
            json.dump({"files": [{"file": name, "lines": lines}]}, stream)
    done = run("/usr/bin/python3", "-B", "-s", ROOT / "scripts" / "coverage.py", tmp_path, tmp_path / "gcov")
    assert done.returncode == 0, done.stderr
    return [" ".join(line.split()) for line in done.stdout.splitlines() if line]


def test_a_line_has_run_if_any_build_ran_it(tmp_path):
    reports = [
        ("coverage-x64", "pe/a.cpp", {1: 1, 2: 1, 4: 0, 5: 0}),
        ("coverage-x86", "pe/a.cpp", {1: 0, 2: 0, 4: 3, 5: 0}),
    ]
    assert "75.0 % 4 pe/a.cpp not run: 5" in counted(tmp_path, reports)


def test_sources_that_the_build_for_this_machine_has_are_summed_apart(tmp_path):
    reports = [
        ("coverage-native", "pe/a.cpp", {1: 0, 2: 1}),
        ("coverage-x64", "pe/a.cpp", {1: 0, 2: 1}),
        ("coverage-x64", "pe/b.cpp", {1: 1, 2: 1}),
    ]
    assert counted(tmp_path, reports) == [
        "50.0 % 2 pe/a.cpp not run: 1",
        "50.0 % of 2 lines of sources that need no Windows",
        "100.0 % 2 pe/b.cpp",
        "100.0 % of 2 lines of sources for Windows",
    ]


def test_a_brace_alone_is_no_line(tmp_path):
    reports = [("coverage-x64", "pe/a.cpp", {2: 1, 3: 0, 6: 0})]
    assert "100.0 % 1 pe/a.cpp" in counted(tmp_path, reports)


def test_only_the_rooms_are_counted(tmp_path):
    reports = [("coverage-x64", "tests/a.cpp", {1: 0}), ("coverage-x64", "tools/b.cpp", {1: 0})]
    assert counted(tmp_path, reports) == [
        "0.0 % of 0 lines of sources that need no Windows",
        "0.0 % of 0 lines of sources for Windows",
    ]
