"""The Debian package: its files, their modes and times, and what its parts need to work where it is installed. The package is
that of this tree."""

import gzip
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest
from conftest import ROOT, output_of, run, tracked

BITNESSES = ("x64", "x86")
LIBRARY = "usr/lib/keyreap"
DOC = "usr/share/doc/keyreap"

COMMANDS = ("keyreap", "keykit")
LINKS = {**{"usr/bin/" + name: "../lib/keyreap/" + name for name in COMMANDS}, DOC + "/LICENSE": "copyright"}

NATIVE_TOOLS = ["capturecheck", "keykit", "observer", "requestfilter", "sessionbox"]
CMAKE_FILES = ["Keyreap", "KeyreapCapture", "KeyreapConfig", "KeyreapConfigVersion", "KeyreapKit", "mingw", "typelibrary"]

LINK = re.compile(r"\]\(([^)#\s]+)[^)\s]*\)")


# What is in it


def used_scripts():
    """The scripts that `keyreap`, `keykit` and the walk of the examples source or run, directly or through others."""
    pending, reached = ["keyreap", "keykit", "examples/walk.sh"], set()
    while pending:
        code = re.sub(r"^\s*#.*", "", (ROOT / pending.pop()).read_text(), flags=re.M)
        loops = " ".join(re.findall(r"for part in ([\w -]+); do", code))
        names = {"scripts/%s.sh" % name for name in re.findall(r"scripts/([\w-]+)\.sh", code) + loops.split()}
        pending += sorted(names - reached)
        reached |= names
    return reached


def expected_files():
    programs = ["bin/%s/Keyreap.exe", "bin/%s/Keyreap.pdb", "bin/%s/KeyKitLive.exe", "samples/%s/thermometer.dll"]
    programs += ["tools/%s/explain.exe", "tools/%s/startrecorder.exe", "tools/%s/KeyKitExplain.exe"]
    library = [*COMMANDS, "prebuilt", *used_scripts(), *("tools/" + name for name in NATIVE_TOOLS)]
    library += ["stage/" + program % bitness for program in programs for bitness in BITNESSES]
    cmake = [*("%s.cmake" % name for name in CMAKE_FILES), "oaidl.idl"]
    documents = ["README.md", "copyright", "changelog.gz", *tracked("docs", "examples")]
    others = [*("usr/share/man/man1/%s.1.gz" % name for name in COMMANDS), "usr/share/lintian/overrides/keyreap"]
    folders = {LIBRARY: library, "usr/lib/cmake/Keyreap": cmake, DOC: documents}
    return sorted(["%s/%s" % (folder, name) for folder, names in folders.items() for name in names] + others)


def test_the_package_has_these_files_and_no_others(package):
    assert [file.relative_to(package.tree).as_posix() for file in package.files()] == sorted(expected_files(), key=Path)


def test_the_command_and_the_license_are_links(package):
    links = {file for file in package.tree.rglob("*") if file.is_symlink()}
    assert {file.relative_to(package.tree).as_posix(): os.readlink(file) for file in links} == LINKS
    assert all(file.exists() for file in links)


def test_the_scripts_and_the_programs_are_those_of_the_tree(package):
    library = package.tree / LIBRARY
    for name in (*COMMANDS, *used_scripts()):
        assert (library / name).read_bytes() == (ROOT / name).read_bytes(), name
    for file in filter(Path.is_file, (library / "stage").rglob("*")):
        assert file.read_bytes() == (ROOT / "build" / file.relative_to(library)).read_bytes(), file


def test_the_package_has_no_maintainer_scripts_and_no_conffiles(package):
    assert sorted(os.listdir(package.control)) == ["control", "md5sums"]


def test_every_file_has_its_checksum(package):
    sums = (package.control / "md5sums").read_text().splitlines()
    assert [line.split("  ", 1)[1] for line in sums] == sorted(str(file.relative_to(package.tree)) for file in package.files())
    result = run("md5sum", "--check", "--strict", "--quiet", package.control / "md5sums", cwd=package.tree)
    assert result.returncode == 0, result.stderr


def is_command(member):
    return member.name.startswith("./%s/tools/" % LIBRARY) or os.access(source_of(member), os.X_OK)


def source_of(member):
    """The file of the tree that an entry is a copy of, if it is one."""
    name = member.name.removeprefix("./").removeprefix(LIBRARY + "/").removeprefix(DOC + "/")
    return ROOT / ("none" if name.startswith("stage/") else name)


def test_all_entries_belong_to_root_and_only_commands_are_executable(package):
    modes = {True: 0o755, False: 0o644}
    for member in package.members():
        assert (member.uid, member.gid, member.uname, member.gname) == (0, 0, "root", "root"), member.name
        if not member.issym():
            assert oct(member.mode) == oct(modes[member.isdir() or is_command(member)]), member.name


def test_all_entries_have_the_time_of_the_commit(package):
    time = int(output_of("git", "-c", "safe.directory=*", "-C", ROOT, "log", "-1", "--format=%ct"))
    assert {member.mtime for member in package.members()} == {time}


@pytest.mark.parametrize("encoding", ["utf-8", "utf-16-le"])
def test_no_file_names_the_folder_of_the_build(package, encoding):
    wanted = str(ROOT).encode(encoding)
    wrong = []
    for file in package.files():
        data = gzip.decompress(file.read_bytes()) if file.suffix == ".gz" else file.read_bytes()
        wrong += [file] * (wanted in data)
    assert wrong == []


@pytest.mark.parametrize("bitness", BITNESSES)
def test_the_type_library_of_the_example_has_no_time_of_its_making(package, bitness):
    data = (package.tree / LIBRARY / "stage/samples" / bitness / "thermometer.dll").read_bytes()
    written = re.search(rb"Created by WIDL version \S+ at (.{24})\nW*\x13\0(.{4})", data, re.S)
    assert written.groups() == (b"Thu Jan  1 00:00:00 1970", bytes(4))


def test_native_programs_need_no_library_and_have_no_symbols(package):
    for name in NATIVE_TOOLS:
        headers = output_of("readelf", "--wide", "--dynamic", "--sections", package.tree / LIBRARY / "tools" / name)
        assert "(NEEDED)" not in headers and ".symtab" not in headers, name


# What it says of itself


def test_the_control_file_names_this_version_and_all_packages_that_a_run_needs(package):
    list_packages = 'source "$1/scripts/packages.sh"; printf "%s\\n" "${WINE_PACKAGES[@]}"'
    needed = output_of("bash", "-c", list_packages, "bash", ROOT).split()
    version = re.search(r"^project\(.* VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]
    assert (package.field("Version"), package.field("Architecture")) == (version, "amd64")
    assert needed and set(needed) <= set(re.findall(r"[\w.+-]+(?=[ ,]|$)", package.field("Depends")))


def test_the_size_is_that_of_the_files(package):
    size = sum(-(-member.size // 1024) if member.isfile() else 1 for member in package.members())
    assert int(package.field("Installed-Size")) == size


def test_the_copyright_file_has_the_license(package):
    text = (package.tree / DOC / "copyright").read_text()
    _, holder, terms = (ROOT / "LICENSE").read_text().rstrip("\n").split("\n\n", 2)
    fields = text[text.index("\nLicense: Expat\n") :].splitlines()[2:]
    assert fields == [" " + (line or ".") for line in terms.splitlines()]
    assert holder.replace(" (c)", ":") in text.splitlines()


@pytest.fixture(scope="module")
def judged(package):
    """What lintian finds, a line each."""
    result = run("lintian", "--allow-root", "--display-info", "--pedantic", "--tag-display-limit", "0", package.deb)
    assert result.returncode == 0, result.stdout + result.stderr
    return [line for line in result.stdout.splitlines() if not line.startswith("N:")]


def test_lintian_finds_no_error_and_no_warning(judged):
    assert [line for line in judged if line.startswith(("E:", "W:"))] == []


def test_every_override_of_lintian_is_needed(judged):
    assert [line for line in judged if "unused-override" in line or "mismatched-override" in line] == []


def test_the_second_command_works_where_it_is_unpacked(package, tmp_path):
    result = run(package.tree / "usr/bin/keykit", "--help", env=dict(os.environ, XDG_CACHE_HOME=str(tmp_path)))
    assert result.returncode == 0 and "emit" in result.stdout, result.stderr


def test_the_usage_names_the_installed_command(package):
    result = run(package.tree / "usr/bin/keyreap", "--help")
    assert (result.returncode, result.stdout) == (0, "")
    assert result.stderr.startswith("keyreap: usage: keyreap [--see FOLDER] ")


SAME_CACHE = """
    source "$1"
    clean_environment /bin/bash -c 'source "$1"; printf "%s\\n" "$2" "$USER_DATA"' bash "$1" "$USER_DATA"
"""


@pytest.mark.parametrize("variables", [{"XDG_CACHE_HOME": "/a cache/keyreap/of"}, {"HOME": "/a/home"}, {}])
def test_what_a_set_up_runs_finds_the_cache_of_its_caller(package, variables):
    common = package.tree / LIBRARY / "scripts/common.sh"
    result = run("/bin/bash", "-ec", SAME_CACHE, "bash", common, env=dict(variables, PATH=os.environ["PATH"]))
    assert result.returncode == 0, result.stderr
    callers, its = result.stdout.splitlines()
    assert callers.endswith("/keyreap/installed") and its == callers


# What is in its documents


def test_links_among_the_documents_have_targets(package):
    wrong, seen = [], 0
    for document in (package.tree / DOC).rglob("*.md"):
        text = re.sub(r"^```.*?^```$", "", document.read_text(encoding="utf-8"), flags=re.M | re.S)
        for target in LINK.findall(text):
            if "://" not in target:
                seen += 1
                wrong += [(document, target)] * (not (document.parent / target).exists())
    assert seen > 50 and wrong == []


def manual(package, *words, name="keyreap"):
    environment = dict(os.environ, MANWIDTH="80", LC_ALL="C.UTF-8", MAN_KEEP_FORMATTING="")
    page = package.tree / ("usr/share/man/man1/%s.1.gz" % name)
    return run("man", *words, "-l", page, env=environment, stdin=subprocess.DEVNULL)


def test_the_manual_page_has_no_errors(package):
    result = manual(package, "--warnings=w")
    assert (result.returncode, result.stderr) == (0, "")
    for section in ("NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "ENVIRONMENT", "FILES", "EXAMPLES", "SEE ALSO"):
        assert section in result.stdout.splitlines(), section
    assert "keyreap " + package.field("Version") in result.stdout


def test_the_manual_page_of_the_second_command_has_no_errors(package):
    result = manual(package, "--warnings=w", name="keykit")
    assert (result.returncode, result.stderr) == (0, "")
    for section in ("NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "SEE ALSO"):
        assert section in result.stdout.splitlines(), section


def test_the_manual_page_names_files_and_variables_that_exist(package):
    text = manual(package).stdout
    scripts = "".join((ROOT / name).read_text() for name in used_scripts())
    variables = set(re.findall(r"\b(?:KEYREAP|XDG)_\w+", text))
    assert variables and all("${%s" % name in scripts for name in variables)
    paths = set(re.findall(r"/(usr/(?:lib|share)/[\w./-]+\w)", text.replace("\u2010", "-")))
    assert len(paths) > 3 and [path for path in paths if not (package.tree / path).exists()] == []


# What CMake finds in it

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Elsewhere LANGUAGES CXX)
find_package(Keyreap %s REQUIRED)
add_library(one SHARED one.cpp)
add_subdirectory(below)
"""


def configure(folder, prefix, request="", *words):
    """Configures a project that asks for the package in a folder below the one where it finds it."""
    (folder / "below").mkdir()
    (folder / "CMakeLists.txt").write_text(PROJECT % request)
    (folder / "below" / "CMakeLists.txt").write_text("if(KEYKIT_COMMAND)\n  set(words LINT)\nendif()\nkeyreap_capture(one ${words})\n")
    (folder / "one.cpp").write_text("int one() { return 1; }\n")
    return run("cmake", "-S", folder, "-B", folder / "build", "-G", "Ninja", "-D", "CMAKE_PREFIX_PATH=%s" % prefix, *words)


def found_command(folder, name="KEYREAP_COMMAND"):
    return Path(re.search(r"^%s:FILEPATH=(.*)$" % name, (folder / "build" / "CMakeCache.txt").read_text(), re.M)[1])


@pytest.mark.parametrize("words", [(), ("-D", "CMAKE_TOOLCHAIN_FILE=%s/usr/lib/cmake/Keyreap/mingw.cmake")])
def test_cmake_finds_the_package_and_its_command_wherever_it_is_unpacked(package, tmp_path, words):
    result = configure(tmp_path, package.tree / "usr", "", *(word.replace("%s", str(package.tree)) for word in words))
    assert result.returncode == 0, result.stderr
    assert os.path.samefile(found_command(tmp_path), package.tree / LIBRARY / "keyreap")
    assert os.path.samefile(found_command(tmp_path, "KEYKIT_COMMAND"), package.tree / LIBRARY / "keykit")
    rules = (tmp_path / "build" / "build.ninja").read_text().replace("$ ", " ")
    assert all(str(package.tree / "usr/lib/cmake/Keyreap" / step) in rules for step in ("KeyreapCapture.cmake", "KeyreapKit.cmake"))


# Requests, and whether version 2.3.1 fulfils them.
REQUESTS = {
    "": True,
    "2": True,
    "2.3": True,
    "2.3.1 EXACT": True,
    "2.3 EXACT": False,
    "2.3.2": False,
    "2.4": False,
    "3": False,
    "1.9": False,
    "1.0...2.3.1": True,
    "1.0...<2.3.1": False,
    "2.0...<2.4": True,
    "2.4...3.0": False,
}


@pytest.mark.parametrize("request_words, fulfilled", REQUESTS.items())
def test_cmake_compares_versions(tmp_path, request_words, fulfilled):
    folder = tmp_path / "lib" / "cmake" / "Keyreap"
    shutil.copytree(ROOT / "cmake", folder)
    template = (ROOT / "packaging" / "KeyreapConfigVersion.cmake.in").read_text()
    (folder / "KeyreapConfigVersion.cmake").write_text(template.replace("@VERSION@", "2.3.1"))
    (tmp_path / "bin").mkdir()
    (tmp_path / "bin" / "keyreap").symlink_to(ROOT / "keyreap")
    result = configure(tmp_path, tmp_path, request_words)
    assert (result.returncode == 0) == fulfilled, result.stderr


def test_the_package_is_found_under_its_version(package, tmp_path):
    result = configure(tmp_path, package.tree / "usr", package.field("Version") + " EXACT")
    assert result.returncode == 0, result.stderr


@pytest.mark.parametrize("target", ["x86_64", "i686"])
def test_the_packaged_examples_can_be_configured(package, tmp_path, target):
    toolchain = "CMAKE_TOOLCHAIN_FILE=%s/usr/lib/cmake/Keyreap/mingw.cmake" % package.tree
    words = ["-G", "Ninja", "-D", toolchain, "-D", "KEYREAP_TARGET=" + target, "-D", "CMAKE_PREFIX_PATH=%s/usr" % package.tree]
    result = run("cmake", "-S", package.tree / DOC / "examples", "-B", tmp_path / "build", *words)
    assert result.returncode == 0, result.stderr
    assert os.path.samefile(found_command(tmp_path), package.tree / LIBRARY / "keyreap")


# Its bytes

MAKE = """
    source "$1/scripts/common.sh"
    for part in build packages tools layout debpackage; do source "$ROOT/scripts/$part.sh"; done
    make_deb "$2"
"""

PACKAGED = ["keyreap", "keykit", "LICENSE", "README.md", "CMakeLists.txt", "scripts", "packaging", "cmake", "docs", "examples"]


NOBODY = 65534


def lay_out_tree(folder):
    """The files that the package is made from, with programs that are as good as any for that."""
    folder.mkdir(exist_ok=True)
    for name in PACKAGED:
        copy = shutil.copytree if (ROOT / name).is_dir() else shutil.copy2
        copy(ROOT / name, folder / name)
    shutil.copytree(ROOT / "build" / "tools", folder / "build" / "tools")
    for bitness in BITNESSES:
        for name in ("bin", "samples", "tools"):
            (folder / "build" / "stage" / name / bitness).mkdir(parents=True)
            (folder / "build" / "stage" / name / bitness / "program").write_bytes(b"MZ")


def deb_of(folder, umask):
    made = folder.with_suffix(".deb")
    result = run("bash", "-ec", MAKE, "bash", folder, made, umask=umask)
    assert result.returncode == 0, result.stderr
    return made.read_bytes()


def make_private(folder):
    """What a checkout has below a folder that gives all folders in it another group, by a user who keeps files private."""
    for file in [folder, *folder.rglob("*")]:
        if os.geteuid() == 0:
            os.chown(file, -1, NOBODY)
        file.chmod(0o2700 if file.is_dir() else file.stat().st_mode & 0o700)
        os.utime(file, (10**9, 10**9))


def test_trees_that_differ_in_folder_modes_and_times_give_the_same_bytes(tmp_path):
    one, other = tmp_path / "one", tmp_path / "another, wîth blanks"
    for folder in (one, other):
        lay_out_tree(folder)
    (other / "examples" / "installer" / "__pycache__").mkdir()
    (other / "examples" / "installer" / "__pycache__" / "regdata.pyc").write_bytes(b"")
    make_private(other)
    assert deb_of(one, 0o022) == deb_of(other, 0o077)


def test_a_changelog_of_another_version_is_refused(tmp_path):
    lay_out_tree(tmp_path)
    (tmp_path / "packaging" / "changelog").write_text("keyreap (0.0.9) unstable; urgency=medium\n")
    result = run(tmp_path / "scripts" / "deb.sh")
    assert (result.returncode, result.stdout) == (125, "")
    assert "begins with version 0.0.9" in result.stderr
