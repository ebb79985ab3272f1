"""The permanent changes of the live registry by each sample that registers itself, as a trace records them."""

import contents
from document import BINARY, EXPAND, MULTI, QWORD, Key, raw
from replay import FILLER, ROOTS


def empty_roots():
    return {name: Key() for name in ROOTS}


def written_by_server(roots):
    """The entries of a redirection that the server wrote itself, without the keys that it found."""
    software = roots["HKEY_LOCAL_MACHINE"].children["Software"]
    if not software.children["Classes"].children:
        del software.children["Classes"]
    if not software.children:
        del roots["HKEY_LOCAL_MACHINE"].children["Software"]
    return roots


def writing():
    """The program on a machine that has none of its keys."""
    roots = empty_roots()
    machine = roots["HKEY_LOCAL_MACHINE"].child("Software\\KeyreapWriting")
    machine.text("", "machine").dword("number", 7)
    machine.set("long number", QWORD, bytes(range(1, 9)))
    machine.set("bytes", BINARY, b"\xde\xad")
    machine.set("expand", EXPAND, raw("%SystemRoot%\\x\0"))
    machine.set("list", MULTI, raw("a\0b\0\0"))
    machine.child("Empty")
    machine.child("Only implied\\Leaf").text("B", "first in the file").text("a", "second in the file")
    machine.child("Its value was removed")
    machine.child("Made and removed").set("", *FILLER)
    user = roots["HKEY_CURRENT_USER"].child("Software\\KeyreapWriting").text("overwritten", "after")
    user.child("Value deleted")
    user.child("Parent\\New child").text("", "new")
    user.child("Only opened")
    classes = roots["HKEY_CLASSES_ROOT"]
    classes.child("Keyreap.Writing").text("", "Writing Class")
    classes.child("CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D21}\\LocalServer32").text("", "{MODULE}")
    roots["HKEY_USERS"].child(".DEFAULT\\Software\\KeyreapWriting").text("", "every user's")
    return roots


def writing_over():
    """The program on a machine that has what it deletes: a deleted key is a header, a key with deleted values is
    missing."""
    roots = writing()
    user = roots["HKEY_CURRENT_USER"].child("Software\\KeyreapWriting")
    user.child("Deleted")
    del user.children["Value deleted"]
    return roots


def family():
    """The parent's entries only."""
    roots = empty_roots()
    key = roots["HKEY_CURRENT_USER"].child("Software\\KeyreapFamily").text("", "the parent's")
    key.child("Shared").text("parent", "the parent's")
    key.child("After").text("", "the parent's")
    return roots


def otherview():
    """The values of the other view are searched in the program's own view."""
    roots = empty_roots()
    software = roots["HKEY_LOCAL_MACHINE"].child("Software")
    software.child("KeyreapOwnView").text("", "own view")
    software.child("KeyreapOtherView").set("", *FILLER)
    software.child("KeyreapBothViews").set("in the other", *FILLER).text("in both", "own view")
    software.child("KeyreapOtherEmpty")
    roots["HKEY_CLASSES_ROOT"].child("CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D22}").set("", *FILLER)
    roots["HKEY_CURRENT_USER"].child("Software\\KeyreapOtherView").text("", "no views here")
    return roots


def handles():
    roots = empty_roots()
    key = roots["HKEY_LOCAL_MACHINE"].child("Software\\KeyreapHandles")
    key.child("Copied").text("", "by a copy")
    key.child("Copied\\Below a\\deep\\copy").text("", "by a moved copy")
    for name in ("Reused one", "Reused two", "Reused three"):
        key.child(name).text("", name)
    for name in ("Thread one", "Thread two", "Thread three", "Thread four"):
        key.child(name).text("0", name).text("1", name).text("2", name)
    key.child("Inherited").text("parent", "by the parent")
    key.child("Made again").text("new", "there").set("old", *FILLER)
    key.child("Copy of the tree").text("", "root of the tree")
    key.child("Copy of the tree\\branch\\leaf").text("", "leaf")
    key.child("Tree").set("", *FILLER)
    key.child("Tree\\branch\\leaf").set("", *FILLER)
    return roots


def renaming():
    """Values set before the renaming are searched under the old names, later ones are under the new name."""
    roots = empty_roots()
    key = roots["HKEY_CURRENT_USER"].child("Software\\KeyreapRenaming").dword("renamed", 1)
    for path in ("", "\\Below"):
        key.child("Old" + path).set("before", *FILLER)
        key.child("New" + path).text("after", "set after the renaming")
    key.child("Old, left alone").set("before", *FILLER)
    key.child("Old, empty")
    return roots


def everyview():
    """Where the classes are redirected. In the live registry the views are two trees."""
    return written_by_server(contents.everyview())


def everytype():
    return written_by_server(contents.everytype())


def texts():
    return written_by_server(contents.texts())


def names():
    return written_by_server(contents.names())


def keys():
    return written_by_server(contents.keys())


def plain():
    return written_by_server(contents.plain())


def peruser():
    return written_by_server(contents.peruser())


def lifetime():
    return written_by_server(contents.lifetime())


def pausing():
    return written_by_server(contents.pausing())


def calculator(system):
    return written_by_server(contents.calculator(system))


def library_alone(system):
    return written_by_server(contents.library_alone(system))


def typelibone(system):
    """A program that contains a type library: the result has the program's paths, not those of the staged copy."""
    roots = empty_roots()
    roots["HKEY_CURRENT_USER"].child("Software\\KeyreapRegServer").text("command line", '"{MODULE}" /REGSERVER ')
    contents.type_library(roots["HKEY_CLASSES_ROOT"], system, contents.LOADED)
    return roots
