"""cmake/Keyreap.cmake: what keykit makes of a capture is built with the server."""

import subprocess

import pytest
from smallbuild import PRODUCT, ROOT, project

ENDINGS = {"wix": "wxs", "wix3": "wix3.wxs", "wixl": "wxi", "nsis": "nsh", "inno": "iss", "reg": "installer.reg", "json": "json"}


def test_each_kind_of_installer_gets_a_file_beside_the_capture(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT %s PRODUCT %s)" % (" ".join(ENDINGS), PRODUCT))
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert all((made.build / ("one." + ending)).read_text() == "emit\n" for ending in ENDINGS.values())
    words = "emit %s {0}/one.reg --product %s --server {0}/libone.so -o {0}/one.%s.part/one.%s"
    expected = [(words % (kind, PRODUCT, ending, ending)).format(made.build) for kind, ending in ENDINGS.items()]
    assert sorted(made.asked("kitted")) == sorted(expected)


def test_the_servers_folder_has_a_name_for_a_kind(tmp_path):
    lines = 'keyreap_capture(one EMIT wix nsis PRODUCT %s DIRECTORY "nsis=$INSTDIR\\\\x64" wix3=OTHER)' % PRODUCT
    made = project(tmp_path, lines)
    assert made.make().returncode == 0
    wix, nsis = sorted(made.asked("kitted"), key=lambda words: "nsis" in words)
    assert "--directory" not in wix and "--directory $INSTDIR\\x64 -o" in nsis


def test_another_folder_has_a_name_for_a_kind_and_the_product_a_scope(tmp_path):
    words = 'SCOPE user REPLACE "wix=C:\\\\windows=WindowsFolder" "wix=C:\\\\data=DATA" "nsis=C:\\\\windows=$WINDIR"'
    made = project(tmp_path, "keyreap_capture(one EMIT wix nsis PRODUCT %s %s)" % (PRODUCT, words))
    assert made.make().returncode == 0
    wix, nsis = sorted(made.asked("kitted"), key=lambda words: "nsis" in words)
    assert "--scope user --replace C:\\windows=WindowsFolder --replace C:\\data=DATA -o" in wix
    assert "--scope user --replace C:\\windows=$WINDIR -o" in nsis


@pytest.mark.parametrize("word", ["keep", "drop"])
def test_noise_can_be_kept_or_dropped(tmp_path, word):
    made = project(tmp_path, "keyreap_capture(one CHECK full EMIT wix nsis PRODUCT %s NOISE %s)" % (PRODUCT, word))
    assert made.make().returncode == 0
    assert [line.partition(" --noise ")[2].split()[0] for line in made.asked("kitted")] == [word, word]
    assert made.asked("checked")[0].endswith(",noise,same,fillers --without C501"), "what is decided is no finding"


def test_a_manifest_and_the_findings_are_files_beside_the_capture(tmp_path):
    made = project(tmp_path, "keyreap_capture(one MANIFEST LINT OUTPUT there.reg)")
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert ((made.build / "there.classes.manifest").read_text(), (made.build / "there.lint").read_text()) == ("manifest\n", "lint\n")
    words = "{0}/there.reg --server {0}/libone.so".format(made.build)
    assert sorted(made.asked("kitted")) == ["lint %s" % words, "manifest %s -o %s/there.classes.manifest.part/there.classes.manifest" % (words, made.build)]


def test_the_paths_of_the_files_are_a_property_of_the_target(tmp_path):
    lines = ["keyreap_capture(one EMIT wix PRODUCT %s LINT)" % PRODUCT, "get_target_property(files one KEYREAP_KIT_FILES)"]
    made = project(tmp_path, "\n".join([*lines, 'file(WRITE ${CMAKE_SOURCE_DIR}/places "${files}")']))
    assert made.make("one_kit").returncode == 0
    assert (tmp_path / "places").read_text() == "{0}/one.wxs;{0}/one.lint".format(made.build)


def test_the_files_are_made_again_only_when_the_capture_changed(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT wix PRODUCT %s MANIFEST LINT)" % PRODUCT)
    assert made.make().returncode == 0 and made.make().returncode == 0
    assert len(made.asked("kitted")) == 3
    made.touch("one.cpp")
    assert made.make().returncode == 0
    assert len(made.asked("kitted")) == 6


def test_an_entry_that_an_installer_does_not_get_fails_the_build_and_leaves_no_file(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT wix PRODUCT %s)" % PRODUCT)
    (tmp_path / "kit").write_text("echo 'keykit: one.reg:4: HKEY_CLASSES_ROOT: is in a root itself' >&2; exit 1")
    result = made.make()
    assert result.returncode != 0
    assert "keykit: one.reg:4: HKEY_CLASSES_ROOT: is in a root itself" in result.stdout.splitlines()
    assert "keykit emit ended with 1" in " ".join(result.stdout.split())
    assert list(made.build.glob("one.wxs*")) == []


@pytest.mark.parametrize("option, name", [("MANIFEST", "one.classes.manifest"), ("LINT", "one.lint")])
def test_a_finding_is_shown_and_fails_no_build(tmp_path, option, name):
    made = project(tmp_path, "keyreap_capture(one %s)" % option)
    (tmp_path / "kit").write_text("echo 'a remark' >&2; exit 1")
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert "a remark" in result.stdout and (made.build / name).exists()


@pytest.mark.parametrize("act", ["exit 2", "kill -9 $$"])
@pytest.mark.parametrize("option", ["MANIFEST", "LINT"])
def test_a_keykit_that_fails_fails_the_build_and_leaves_no_file(tmp_path, option, act):
    made = project(tmp_path, "keyreap_capture(one %s)" % option)
    (tmp_path / "kit").write_text(act)
    assert made.make().returncode != 0
    assert list(made.build.glob("one.%s*" % option.lower())) == []


def test_what_lint_prints_is_shown(tmp_path):
    made = project(tmp_path, "keyreap_capture(one LINT)")
    (tmp_path / "kit").write_text("echo 'one.reg: K007 CLSID: a finding'; exit 1")
    result = made.make()
    assert "one.reg: K007 CLSID: a finding" in result.stdout.splitlines()
    assert "K007" in (made.build / "one.lint").read_text()


REFUSED = {
    "EMIT wix": "EMIT needs PRODUCT",
    "EMIT msix PRODUCT %s" % PRODUCT: "there is no kind msix",
    "PRODUCT %s" % PRODUCT: "are for EMIT",
    "LINT DIRECTORY wix=X": "are for EMIT",
    "LINT CHECK full NOISE drop": "are for EMIT",
    "CHECK full EMIT wix NOISE fail PRODUCT %s" % PRODUCT: "NOISE is keep or drop, and not fail",
    "EMIT wix NOISE drop PRODUCT %s" % PRODUCT: "NOISE needs CHECK full",
}


@pytest.mark.parametrize("words", REFUSED)
def test_words_of_keykit_that_say_nothing_are_refused(tmp_path, words):
    result = project(tmp_path, "keyreap_capture(one %s)" % words).configure()
    assert result.returncode != 0
    assert REFUSED[words] in " ".join(result.stderr.split())


def test_without_keykit_its_words_are_refused(tmp_path):
    result = project(tmp_path, "keyreap_capture(one LINT)").configure("-D", "KEYKIT_COMMAND=")
    assert result.returncode != 0
    assert "there is no keykit" in result.stderr
    assert project(tmp_path, "keyreap_capture(one)").configure("-D", "KEYKIT_COMMAND=").returncode == 0


def test_the_keykit_of_this_tree_makes_parts_of_installers(tmp_path):
    """A library for Windows, and keykit itself; the capture is made up."""
    made = project(tmp_path, "keyreap_capture(one NO_CHECK EMIT wix nsis PRODUCT %s)" % PRODUCT)
    path = "Z:%s" % str(made.build / "libone.dll").replace("/", "\\")
    (tmp_path / "key").write_text('[HKEY_CLASSES_ROOT\\Small]\r\n@="%s"' % path.replace("\\", "\\\\"))
    subprocess.run([ROOT / "keykit", "--help"], check=True, capture_output=True)
    options = ["CMAKE_TOOLCHAIN_FILE=%s/cmake/mingw.cmake" % ROOT, "KEYREAP_TARGET=x86_64", "KEYKIT_COMMAND=%s/keykit" % ROOT]
    configured = made.configure(*(word for option in options for word in ("-D", option)))
    assert configured.returncode == 0, configured.stderr
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert 'Value="[#libone.dll]" KeyPath="yes"' in (made.build / "one.wxs").read_text()
    assert '"$INSTDIR\\libone.dll"' in (made.build / "one.nsh").read_text()
