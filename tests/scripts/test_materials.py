"""The bill of materials of a release (scripts/materials): it lists what is really linked into the programs and compiled into
them, as the linker and the compiler recorded it, and a part of unknown origin makes it fail."""

import hashlib
import json
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path
from urllib.parse import unquote

import pytest
import spdxrules
from conftest import ROOT, bash, new_tree, run

sys.path.insert(0, str(ROOT / "scripts" / "materials"))

from bill import Accountant  # noqa: E402
from builds import builds_of  # noqa: E402
from distribution import Distribution  # noqa: E402
from licences import licence_in  # noqa: E402
from releasefiles import ReleasedFile  # noqa: E402

BUILD = """
    cd "$1" && for part in common packages tools build; do source "scripts/$part.sh"; done
    build_preset x64 Keyreap && build_preset keykit keykit
"""

# Names of libraries, each with the package that they are of.
MINGW = {
    ("libgcc", "gcc-mingw-w64-x86-64-posix"),
    ("libstdc++", "g++-mingw-w64-x86-64-posix"),
    ("mingw-w64 run time", "mingw-w64-common"),
    ("mingw-w64 run time", "mingw-w64-x86-64-dev"),
    ("winpthreads", "mingw-w64-x86-64-dev"),
}
# Uses a function of libcrypto.
WIPE = 'extern "C" void OPENSSL_cleanse(void*, unsigned long);\nauto used = OPENSSL_cleanse;\n'

VERSION, TIME = "1.2.3", 1_000_000_000
GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"


class Product:
    """A tree of the small project, whose programs are packed into a zip."""

    def __init__(self):
        self.tree = new_tree()
        self.kit = self.tree.folder / "kit"
        self.program = self.tree.folder / "extract"
        self.texts = {file: file.read_text() for folder in (self.kit, self.program) for file in folder.iterdir()}

    def restore(self):
        for file, text in self.texts.items():
            file.write_text(text)

    def use(self, text, libraries=""):
        """Puts a line into the main file of keykit, and links libraries to it."""
        source = self.kit / "main.cpp"
        source.write_text(text + "\n" + self.texts[source])
        self.declare(self.kit, "target_link_libraries(keykit PRIVATE %s)" % libraries)

    def declare(self, folder, text):
        """Adds lines to the declarations of a folder."""
        file = folder / "CMakeLists.txt"
        file.write_text(file.read_text() + text + "\n")

    def build(self):
        result = bash(BUILD, self.tree.folder)
        assert result.returncode == 0, result.stdout + result.stderr

    def programs(self):
        return {"x64/Keyreap.exe": self.tree.build / "x64/extract/Keyreap.exe", "keykit": self.tree.build / "keykit/kit/keykit"}

    def pack(self, **more):
        """Runs the command for a zip with the programs and with other files."""
        zip_file = self.tree.folder / "product.zip"
        with zipfile.ZipFile(zip_file, "w") as archive:
            for name, file in (self.programs() | more).items():
                archive.writestr(zipfile.ZipInfo(name), Path(file).read_bytes())
        command = self.tree.folder / "scripts/materials/makebill.py"
        return run("/usr/bin/python3", "-B", command, self.tree.folder, VERSION, TIME, zip_file)

    def bill(self, **more):
        self.build()
        result = self.pack(**more)
        assert result.returncode == 0, result.stderr
        return Bill((self.tree.folder / "product.zip.spdx.json").read_text(encoding="utf-8"))

    def refusal(self, **more):
        """Why no bill is made."""
        self.build()
        result = self.pack(**more)
        assert (result.returncode, result.stdout) == (1, "")
        return result.stderr


class Bill:
    def __init__(self, text):
        self.text = text
        self.document = json.loads(text)
        self.entries = {entry["SPDXID"]: entry for key in ("packages", "files") for entry in self.document[key]}

    def related(self, kind, file=None):
        """The entries that are related in this way to a file of the product, or to the product."""
        first = next(name for name, entry in self.entries.items() if entry.get("fileName") == file or file is None)
        return [self.entries[second] for end, second in spdxrules.links(self.document, kind) if end == first]

    def libraries(self):
        return {library(entry) for entry in self.related("CONTAINS") if "fileName" not in entry}


def library(entry):
    return entry["name"], unquote(entry["externalRefs"][0]["referenceLocator"]).partition("@")[0].rpartition("/")[2]


def only(values):
    (value,) = values
    return value


@pytest.fixture(scope="module")
def built():
    made = Product()
    yield made
    shutil.rmtree(made.tree.folder)


@pytest.fixture
def product(built):
    yield built
    built.restore()


@pytest.fixture(scope="module")
def plain(built):
    """The bill of the programs as they are."""
    return built.bill()


def test_the_document_follows_the_standard(plain):
    spdxrules.check(plain.document)


def test_the_files_have_their_checksums(plain, product):
    expected = {"./" + name: file.read_bytes() for name, file in product.programs().items()}
    assert {entry["fileName"]: entry["checksums"] for entry in plain.document["files"]} == {
        name: [spdxrules.checksum("SHA1", data), spdxrules.checksum("SHA256", data)] for name, data in expected.items()
    }
    code = hashlib.sha1("".join(sorted(hashlib.sha1(data).hexdigest() for data in expected.values())).encode()).hexdigest()
    assert plain.document["packages"][0]["packageVerificationCode"] == {"packageVerificationCodeValue": code}


def test_a_program_lists_the_run_time_that_is_linked_in(plain):
    linked = plain.related("STATIC_LINK", "./x64/Keyreap.exe")
    compiled = plain.related("GENERATED_FROM", "./x64/Keyreap.exe")
    assert {library(entry) for entry in linked} == {names for names in MINGW if names[1] != "mingw-w64-common"}
    assert {library(entry) for entry in linked + compiled} == MINGW
    licences = {entry["name"]: entry["licenseConcluded"] for entry in linked}
    assert licences["libgcc"] == licences["libstdc++"] == GCC
    assert licences["winpthreads"] == "MIT AND BSD-3-Clause"


def test_an_entry_has_the_version_that_is_installed(plain):
    for entry in plain.related("CONTAINS"):
        if "fileName" not in entry:
            version = run("dpkg-query", "-W", "-f", "${Version}", library(entry)[1]).stdout
            assert entry["versionInfo"] == version != ""
            locator = unquote(entry["externalRefs"][0]["referenceLocator"])
            assert locator.startswith("pkg:deb/debian/%s@%s?arch=" % (library(entry)[1], version))


def test_the_toolchain_is_listed_as_what_the_build_needed(plain):
    links = spdxrules.links(plain.document, "BUILD_DEPENDENCY_OF")
    assert {second for _, second in links} == {"SPDXRef-Package-keyreap"}
    names = {plain.entries[first]["name"] for first, _ in links}
    assert {"binutils-mingw-w64-x86-64", "mingw-w64-tools"} <= names


def test_the_same_product_has_the_same_bill(plain, product):
    assert product.bill().text == plain.text


def test_one_more_linked_library_is_one_more_entry(plain, product):
    product.use(WIPE, "-l:libcrypto.a")
    bill = product.bill()
    spdxrules.check(bill.document)
    assert bill.libraries() - plain.libraries() == {("libssl-dev", "libssl-dev")}
    assert plain.libraries() - bill.libraries() == set()
    entry = only(entry for entry in bill.related("STATIC_LINK", "./keykit") if entry["name"] == "libssl-dev")
    assert entry["comment"] == "Linked in: libcrypto.a"
    assert "libssl-dev" not in [entry["name"] for entry in bill.related("STATIC_LINK", "./x64/Keyreap.exe")]
    assert bill.document["documentNamespace"] != plain.document["documentNamespace"]


def test_a_library_of_headers_alone_is_an_entry(plain, product):
    product.use("#include <nlohmann/json.hpp>")
    bill = product.bill()
    # Its headers include others, of the C++ library and through it of the system.
    more = {name for name, _ in bill.libraries() - plain.libraries()}
    assert more == {"nlohmann-json", "libstdc++", "linux headers"}
    entry = only(entry for entry in bill.related("GENERATED_FROM", "./keykit") if entry["name"] == "nlohmann-json")
    assert entry["licenseConcluded"] == "MIT"
    assert entry not in bill.related("STATIC_LINK", "./keykit")


def test_a_library_that_nothing_is_taken_from_is_not_listed(plain, product):
    product.use("", "-l:libcrypto.a")
    assert product.bill().libraries() == plain.libraries()


@pytest.mark.parametrize(
    "text, expected",
    [
        ("Files: *\nCopyright: us\nLicense: Expat\n", "MIT"),
        ("Files: *\nLicense: Zlib\n text\n\nFiles: debian/*\nLicense: GPL-2+\n\nLicense: GPL-2+\n text\n", "Zlib"),
        ("Files: *\nLicense: Expat\n\nFiles: a b\nLicense: Zlib\n", None),
        ("Files: *\nLicense: of-our-own\n", None),
        ("It may be copied as you like.\n", None),
    ],
)
def test_a_licence_is_read_only_where_it_holds_for_all_files(text, expected):
    assert licence_in(text) == expected


def compiled_library(folder, name):
    """A static library with a function of this name."""
    (folder / (name + ".cpp")).write_text("int %s() { return 1; }\n" % name)
    subprocess.run(["g++", "-c", name + ".cpp", "-o", name + ".o"], cwd=folder, check=True)
    subprocess.run(["ar", "qc", "lib%s.a" % name, name + ".o"], cwd=folder, check=True)
    return folder / ("lib%s.a" % name)


def test_a_library_that_is_of_no_package_makes_no_bill(product, tmp_path):
    file = compiled_library(tmp_path, "Foreign")
    product.use("int Foreign();\nint used = Foreign();", file)
    assert "keykit: %s is in it, and is not a file of any package" % file in product.refusal()


def test_a_library_that_lies_in_the_checkout_makes_no_bill(product):
    file = compiled_library(product.tree.build, "Laid")
    product.use("int Laid();\nint used = Laid();", "${PROJECT_SOURCE_DIR}/build/libLaid.a")
    assert "libLaid.a is linked in, and neither built here nor a file of a package" in product.refusal()


def test_a_header_that_is_of_no_package_makes_no_bill(product, tmp_path):
    (tmp_path / "foreign.h").write_text("")
    product.use('#include "%s"' % (tmp_path / "foreign.h"))
    assert "keykit: %s/foreign.h is in it, and is not a file of any package" % tmp_path in product.refusal()


def test_a_program_that_was_not_linked_here_makes_no_bill(product):
    assert "stranger: there is no linker's map of it" in product.refusal(stranger="/usr/bin/true")


def test_programs_of_one_name_have_the_parts_of_both(product, plain):
    (product.kit / "other.cpp").write_text(WIPE + "int main() {}\n")
    product.declare(product.kit, "add_executable(other other.cpp)\ntarget_link_libraries(other PRIVATE -l:libcrypto.a)")
    product.declare(product.kit, "set_target_properties(other PROPERTIES OUTPUT_NAME keykit RUNTIME_OUTPUT_DIRECTORY second)")
    product.declare(product.kit, "add_dependencies(keykit other)")
    assert ("libssl-dev", "libssl-dev") in product.bill().libraries() - plain.libraries()
    product.restore()
    assert product.bill().libraries() == plain.libraries()


def test_a_list_of_exported_names_is_no_part(product, plain):
    (product.program / "names.def").write_text("EXPORTS\n    wmain\n")
    product.declare(product.program, "target_link_options(Keyreap PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/names.def)")
    assert product.bill().libraries() == plain.libraries()
    assert "/names.def\n" in (product.tree.build / "x64/extract/CMakeFiles/Keyreap.dir/link.map").read_text()


def test_a_shared_library_is_listed_as_one(plain, product):
    parts = product.tree.build / "tools" / "shared.parts"
    parts.mkdir(parents=True)
    (parts / "main.cpp").write_text("#include <iostream>\nint main() { std::cout << 1; }\n")
    subprocess.run(["g++", "-MD", "-c", "main.cpp", "-o", "main.o"], cwd=parts, check=True)
    subprocess.run(["g++", parts / "main.o", "-o", "../shared", "-Wl,-Map=link.map"], cwd=parts, check=True)
    bill = product.bill(shared=parts.parent / "shared")
    shutil.rmtree(parts)
    spdxrules.check(bill.document)
    expected = {("glibc", "libc6"), ("libstdc++", "libstdc++6")}
    assert {library(entry) for entry in bill.related("DYNAMIC_LINK", "./shared")} == expected
    assert {library(entry) for entry in bill.related("DEPENDS_ON")} == expected
    assert ("libstdc++", "libstdc++6") not in bill.libraries()


def test_every_program_of_this_tree_has_parts_of_known_origin():
    """So that ./release, which builds everything twice, doesn't find one at its end."""
    builds = builds_of(ROOT)
    programs = [ReleasedFile(name, "", "", (build,), ()) for build in builds for name in builds[build].maps]
    assert {"Keyreap.exe", "KeyKit.exe", "thermometer.dll", "unit_core.exe", "keykit", "observer"} <= {one.name for one in programs}
    bill = Accountant(builds, Distribution()).bill_of(Path("all"), programs)
    assert {"CLI11", "googletest", "libstdc++", "nlohmann-json", "winpthreads"} <= {library.name for library in bill.libraries()}
