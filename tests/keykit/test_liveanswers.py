"""keykit manifest --prove: what becomes of the answers of KeyKitLive, in whose place a script prints them."""

import pytest
from conftest import keykit
from test_manifest import CLSID, OTHER, SERVED, SERVER


def answered(desk, *lines):
    """What keykit says of two classes for whose creation KeyKitLive prints these lines. A second start prints none."""
    script = desk.folder / "live.sh"
    text = "\\n".join(['{"bitness":64}', *lines]) + "\\n"
    script.write_text("#!/bin/sh\nif mkdir %s/started; then printf '%s'; else printf '{\"bitness\":64}\\n'; fi 2>&-\n" % (desk.folder, text))
    script.chmod(0o755)
    words = ["--server", "%s=Z:\\build\\bin\\server.dll" % desk.server, "--prove"]
    capture = desk.capture(*SERVED, "[%s\\InprocServer32]" % OTHER, SERVER)
    result = keykit("manifest", capture, *words, env={"KEYKIT_LIVE": str(script), "PATH": "/usr/bin:/bin"})
    return result.stderr.decode().replace("keykit: ", "").splitlines()


OTHER_CLSID = OTHER.rpartition("\\")[2]
CREATED = '{"clsid":"%s","result":0,"isRegistered":false}'


def test_an_answer_is_that_of_the_class_that_it_names(desk):
    assert answered(desk, CREATED % CLSID, CREATED % OTHER_CLSID) == ["2 of 2 classes are created by the manifest alone"]
    (desk.folder / "started").rmdir()
    assert answered(desk, "{}", CREATED % CLSID) == [
        "%s: the program ended while it was created" % OTHER_CLSID, "1 of 2 classes are created by the manifest alone"]


@pytest.mark.parametrize("answer", ["{}", '{"clsid":"%s"}' % CLSID, '{"clsid":"%s","result":"0"}' % CLSID, CREATED % OTHER_CLSID, "loading " + CREATED % CLSID])
def test_a_class_without_an_answer_of_its_own_isnt_created(desk, answer):
    said = answered(desk, answer, CREATED % OTHER_CLSID)
    assert said[0] == "%s: the program ended while it was created" % CLSID
    assert said[-1].startswith(("0 of 2", "1 of 2"))
