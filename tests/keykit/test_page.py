"""The page of keykit show as its readers have it: in a browser, with the keyboard, by a screen reader, light and dark."""

import json
import os
import re
import time

import pytest
from browser import Browser, contrast
from conftest import calculator_captures, keykit
from selenium.webdriver.common.keys import Keys
from test_show import HOSTILE, hostile_capture

CLASS = "HKEY_CLASSES_ROOT\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}"
WIDE, NARROW = (1280, 900), (390, 800)


@pytest.fixture(scope="module")
def browser(tmp_path_factory, built):
    started = Browser(tmp_path_factory.mktemp("browser"))
    yield started
    started.close()


@pytest.fixture(scope="module")
def calculators(tmp_path_factory):
    return calculator_captures(tmp_path_factory.mktemp("calculators"))


@pytest.fixture
def opened(browser, tmp_path):
    """Opens the page of captures. A page about which the browser complains fails its test."""

    def open_page(*captures, change=None, scheme="light", size=WIDE):
        page = tmp_path / "page.html"
        result = keykit("show", *captures, "-o", page)
        assert result.returncode == 0, result.stderr
        if change:
            page.write_text(change(page.read_text()))
        browser.resize(*size)
        browser.prefer(scheme)
        browser.open(page)
        return browser

    yield open_page
    assert browser.messages() == []


@pytest.fixture
def calculator(opened, calculators):
    return opened(calculators[0])


@pytest.fixture
def comparison(opened, calculators):
    return opened(*calculators)


def rows(browser):
    """The names in the tree, without what is folded."""
    return browser.texts("#tree .row > .name")


def focused(browser):
    return browser.run("return document.activeElement.getAttribute('aria-label') || document.activeElement.id")


def search(browser, text):
    """Types the words, and waits for the result."""
    browser.run("document.getElementById('status').textContent = document.getElementById('words').value = ''")
    browser.click("#words")
    browser.press(text)
    browser.wait("return document.getElementById('status').textContent !== ''")


def with_findings(*findings):
    """Puts findings into the page's data, as a check would."""
    listed = [dict({"capture": 0, "rule": "K001", "key": None, "path": "", "value": None, "sentence": "is odd"}, **of) for of in findings]
    return lambda page: page.replace('"findings":[]', '"findings":' + json.dumps(listed), 1)


# What it shows


def test_the_classes_are_shown_with_what_belongs_to_them(calculator):
    assert calculator.driver.title == "calculator-x64.reg"
    assert calculator.texts("h1, h2") == [
        "calculator-x64.reg", "Classes 1", "Interfaces 1", "Type libraries 1", "ProgIDs 2", "Keys"]
    assert calculator.texts("article h3") == [
        "Calculator Class", "ICalculator", "Keyreap sample: calculator", "Keyreap.Calculator", "Keyreap.Calculator.1"]
    lines = calculator.texts("article")[0].splitlines()
    assert [line for line in lines if line] == [
        "Calculator Class", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}", "InprocServer32", "Z:\\build\\x64\\calculator.dll", "Threading model",
        "Both", "ProgID", "Keyreap.Calculator.1", "Version-independent ProgID", "Keyreap.Calculator", "Version", "1.0", "Type library",
        "Keyreap sample: calculator", "Marked as", "Programmable", "Interfaces", "ICalculator", "Show its keys"]


def test_the_tree_has_the_keys_with_their_values_and_types(calculator):
    assert rows(calculator)[:6] == [
        "HKEY_CLASSES_ROOT", "CLSID", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}Calculator Class", "(default)", "InprocServer32", "(default)"]
    assert calculator.texts("#tree .value")[:3] == [
        "(default)\nREG_SZ\nCalculator Class", "(default)\nREG_SZ\nZ:\\build\\x64\\calculator.dll", "ThreadingModel\nREG_SZ\nBoth"]
    assert calculator.texts("#counts") == ["28 keys, 21 values"]


def test_links_lead_to_other_objects_and_to_the_keys(calculator):
    calculator.find("article dd a").click()
    assert calculator.run("return document.activeElement.querySelector('h3').innerText") == "Keyreap.Calculator.1"
    calculator.click("article .keys")
    assert focused(calculator).startswith("{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}, key")


def test_findings_are_listed_and_shown_in_their_places(opened, calculators):
    numbers = json.loads(re.search(r'id="data">(.*?)</script>', keykit("show", calculators[0]).stdout.decode())[1])["keys"]
    server = next(number for number, key in enumerate(numbers) if key["name"] == "InprocServer32")
    page = opened(calculators[0], change=with_findings(
        {"key": server, "path": CLASS + "\\InprocServer32", "value": "threadingmodel", "sentence": "the model is odd"},
        {"key": server, "path": CLASS + "\\InprocServer32", "rule": "", "sentence": "the <b>server</b> is odd"},
        {"rule": "K009", "sentence": "the capture is odd"}))
    assert page.texts("#findings li") == [
        "K001 the model is odd\n%s\\InprocServer32, threadingmodel" % CLASS, "the <b>server</b> is odd\n%s\\InprocServer32" % CLASS,
        "K009 the capture is odd"]
    assert page.texts("#findings-title") == ["Findings 3"]
    assert page.texts("#tree .finding") == ["the <b>server</b> is odd", "K001: the model is odd"]
    assert page.texts("article .finding") == ["K001: the model is odd", "the <b>server</b> is odd"]
    page.click("#findings a")
    assert focused(page) == "ThreadingModel, REG_SZ, Both, K001: the model is odd"


# Two captures and more


def test_two_captures_are_side_by_side(comparison):
    assert comparison.texts("#legend .chip") == ["4 only in calculator-x64.reg", "2 only in calculator-x86.reg", "3 changed"]
    assert comparison.texts("#columns .cell") == ["calculator-x64.reg", "calculator-x86.reg"]
    assert comparison.texts(".value.changed > .cell")[:4] == [
        "REG_SZ\nZ:\\build\\x64\\calculator.dll", "REG_SZ\nZ:\\build\\x86\\calculator.dll", "REG_SZ\nBoth", "REG_SZ\nApartment"]
    assert comparison.texts(".value.left > .cell")[:2] == ["REG_SZ\nKeyreap.Calculator.1", "\u2014 not there"]
    assert comparison.texts(".key.left .tag") == ["only in calculator-x64.reg"] * 2
    assert comparison.texts(".key.right .tag") == ["only in calculator-x86.reg"]
    assert comparison.texts("article .tag") == ["differs"] * 3
    assert comparison.texts("article dd.left")[:2] == ["Z:\\build\\x64\\calculator.dllcalculator-x64.reg", "Bothcalculator-x64.reg"]
    assert comparison.texts("article dd.right")[:2] == ["Z:\\build\\x86\\calculator.dllcalculator-x86.reg", "Apartmentcalculator-x86.reg"]
    left, right = (comparison.run("return document.querySelector(arguments[0]).getBoundingClientRect().x", ".value.changed > " + of)
                   for of in (".left", ".right"))
    assert left + 200 < right


def test_only_the_differences_are_shown_on_demand(comparison):
    comparison.click("#only")
    assert comparison.texts("#tree .value.same") == []
    assert comparison.texts("article h3") == ["Calculator Classdiffers", "Keyreap sample: calculatordiffers", "Keyreap.Calculatordiffers"]
    comparison.click("#only")
    assert len(comparison.texts("#tree .value.same")) == 16


def test_of_more_captures_any_two_are_compared(opened, calculators, desk):
    page = opened(*calculators, desk.capture("[%s]" % CLASS, '@="New"', name="third.reg"))
    assert page.texts("h1") == ["calculator-x64.reg and calculator-x86.reg"]
    page.run("""const select = document.querySelectorAll("select")[1];
        select.value = "2"; select.dispatchEvent(new Event("change"));""")
    assert page.texts("h1") == ["calculator-x64.reg and third.reg"]
    assert page.texts(".value.changed > .cell") == ["REG_SZ\nCalculator Class", "REG_SZ\nNew"]


def test_the_keys_of_an_object_are_those_that_a_shown_capture_has(opened, desk):
    software, values = "HKEY_LOCAL_MACHINE\\Software\\", ["\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}]", '@="Some class"']
    first = ["[" + software + "Wow6432Node\\Classes" + values[0], values[1]]
    last = ["[" + software + "Classes\\Wow6432Node" + values[0], values[1]]
    page = opened(*(desk.capture(*lines, name=name) for name, lines in (("v1.reg", first), ("v2.reg", first), ("v3.reg", last))))
    page.click("article .keys")
    assert focused(page).startswith("{B29A312E-EB83-43BC-A846-E0C0563B8877}, key, Some class")
    page.run("goToKey(model.objects[0].keys[0]); goToKey(undefined)")


def test_deletions_and_damaged_entries_are_named(opened, desk):
    page = opened(desk.capture("[-%s]" % CLASS, "[HKEY_CLASSES_ROOT\\x]", '"gone"=-', '"odd"=hex(2):,00,00'))
    assert page.texts("#tree .tag") == ["deletes the key", "deletes the value", "damaged: expected no comma after the colon"]


# Search and folding


def test_search_leaves_what_matches_and_what_is_above_it(calculator):
    before = rows(calculator)
    search(calculator, "threadingmodel")
    assert rows(calculator) == [
        "HKEY_CLASSES_ROOT", "CLSID", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}Calculator Class", "InprocServer32", "(default)",
        "ThreadingModel"]
    assert calculator.texts("#tree mark") == ["ThreadingModel"]
    assert calculator.texts("#status") == ["Found 1 key and 0 objects."]
    calculator.press(Keys.ESCAPE)
    calculator.wait("return document.getElementById('words').value === ''")
    assert rows(calculator) == before
    assert calculator.texts("#status") == [""]


def test_a_path_and_words_in_any_order_are_found(calculator):
    search(calculator, CLASS + "\\inproc")
    assert rows(calculator)[-3:] == ["InprocServer32", "(default)", "ThreadingModel"]
    search(calculator, "BOTH inproc")
    assert rows(calculator)[-1] == "ThreadingModel"
    search(calculator, "icalculator")
    assert calculator.texts("article h3") == ["ICalculator"]
    search(calculator, "nothing has this")
    assert (rows(calculator), calculator.texts("article"), calculator.texts("#nothing")) == ([], [], ["No key matches."])


def test_what_the_search_hides_is_shown_when_a_link_leads_there(calculator):
    search(calculator, "icalculator")
    calculator.find("article dd a").click()
    assert focused(calculator).startswith("{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}, key")
    assert calculator.run("return document.getElementById('words').value") == ""


def test_keys_fold_by_click_and_all_at_once(calculator):
    before = rows(calculator)
    calculator.click("#tree .row:nth-child(3)")
    assert rows(calculator)[2:4] == ["{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}Calculator Class", "Interface"]
    calculator.click("#tree .row:nth-child(3)")
    assert rows(calculator) == before
    calculator.click("#fold")
    assert rows(calculator) == [
        "HKEY_CLASSES_ROOT", "HKEY_CURRENT_USERmade by the capture", "HKEY_LOCAL_MACHINE", "HKEY_USERSmade by the capture"]
    calculator.click("#unfold")
    assert rows(calculator) == before


# By keyboard


def test_the_keyboard_reaches_everything(calculator):
    reached = []
    calculator.run("document.activeElement.blur()")
    for _ in range(60):
        calculator.press(Keys.TAB)
        reached.append(calculator.run("""const at = document.activeElement;
            return [at.tagName, at.getAttribute("role"), at.id || at.getAttribute("aria-label") || at.textContent]"""))
        if reached[-1][1] == "treeitem":
            break
    assert reached[0] == ["A", None, "Skip to the keys"]
    assert reached[1] == ["INPUT", None, "words"]
    assert ["BUTTON", None, "Show the keys of Calculator Class"] in reached
    assert ["A", None, "ICalculator"] in reached
    assert [name for _, _, name in reached[-3:]] == ["unfold", "fold", "HKEY_CLASSES_ROOT, key"]


def test_arrows_move_in_the_tree_and_fold(calculator):
    calculator.run("document.querySelector('[role=treeitem]').focus()")
    seen = []
    for key in (Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_LEFT, Keys.ARROW_DOWN, Keys.ARROW_LEFT, Keys.ARROW_LEFT, Keys.ARROW_RIGHT,
                Keys.ARROW_UP, Keys.END, Keys.HOME, Keys.ENTER, " ", "i"):
        calculator.press(key)
        seen.append(focused(calculator).split(",")[0])
    assert seen == [
        "CLSID", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}", "Interface", "Interface",
        "HKEY_CLASSES_ROOT", "CLSID", "HKEY_CLASSES_ROOT", "HKEY_USERS", "HKEY_CLASSES_ROOT", "HKEY_CLASSES_ROOT", "HKEY_CLASSES_ROOT",
        "Interface"]
    assert calculator.run("return document.querySelectorAll('[role=treeitem][tabindex=\"0\"]').length") == 1
    calculator.press("*")
    folded = "return [...document.querySelectorAll('[aria-level=\"2\"][aria-expanded=false]')].length"
    assert calculator.run(folded) == 0


def test_the_slash_goes_to_the_search_and_the_arrow_into_the_tree(calculator):
    calculator.run("document.querySelector('[role=treeitem]').focus()")
    calculator.press("/")
    assert focused(calculator) == "words"
    calculator.press("both/")
    assert calculator.run("return document.activeElement.value") == "both/"
    calculator.press(Keys.BACKSPACE, Keys.ARROW_DOWN)
    assert (focused(calculator), rows(calculator)[-1]) == ("HKEY_CLASSES_ROOT, key", "ThreadingModel")
    time.sleep(0.3)
    assert focused(calculator) == "HKEY_CLASSES_ROOT, key"


# By screen reader


def test_a_screen_reader_has_landmarks_headings_and_names(comparison):
    named = comparison.named()
    roles = [(role, name) for role, name, _ in named]
    assert {"banner", "main", "search", "navigation", "status", "tree"} <= {role for role, _ in roles}
    assert [(name, of["level"]) for role, name, of in named if role == "heading"][:4] == [
        ("calculator-x64.reg and calculator-x86.reg", 1), ("Classes 1", 2), ("Calculator Class differs", 3), ("Interfaces 1", 2)]
    assert ("searchbox", "Search keys, values and objects") in roles
    assert ("checkbox", "Only differences") in roles
    assert ("tree", "Keys") in roles
    assert ("region", "Classes 1") in roles
    acting = {"button", "link", "checkbox", "combobox", "searchbox", "treeitem", "tree", "navigation", "region", "article"}
    assert [role for role, name in roles if role in acting - {"article"} and not name] == []


def test_a_screen_reader_has_the_tree_with_levels_and_states(comparison):
    items = {name: of for role, name, of in comparison.named() if role == "treeitem"}
    root = items["HKEY_CLASSES_ROOT, key, 9 differences"]
    assert (root["level"], root["expanded"]) == (1, True)
    value = "ThreadingModel, calculator-x64.reg: REG_SZ, Both, calculator-x86.reg: REG_SZ, Apartment"
    assert items[value]["level"] == 5 and "expanded" not in items[value]
    assert "CurVer, key, only in calculator-x64.reg" in items
    places = comparison.run("""return [...document.querySelectorAll("[aria-level='2']")].map(
        (row) => [row.ariaPosInSet, row.ariaSetSize])""")
    assert places[:5] == [[str(number), "5"] for number in range(1, 6)]


# Its looks


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_texts_are_legible_in_both_schemes(opened, calculators, scheme):
    page = opened(*calculators, change=with_findings({"sentence": "is odd"}, {"key": 0, "path": "x", "rule": "K002"}), scheme=scheme)
    search(page, "calculator")
    colours = page.colours()
    assert len(colours) > 100
    assert [text for text, colour, ground in colours if contrast(colour, ground) < 4.5] == []
    ground = page.run("return getComputedStyle(document.body).backgroundColor")
    assert (sum(map(int, re.findall(r"\d+", ground))) < 384) == (scheme == "dark")


@pytest.mark.parametrize("size", [WIDE, NARROW])
def test_nothing_is_wider_than_the_window(opened, calculators, desk, size):
    page = opened(*calculators, desk.capture("[HKEY_CLASSES_ROOT\\%s]" % ("x" * 250), '"%s"="%s"' % ("n" * 300, "d" * 3000)), size=size)
    page.run("""const select = document.querySelectorAll("select")[1];
        select.value = "2"; select.dispatchEvent(new Event("change"));""")
    assert page.run("return document.documentElement.scrollWidth") == size[0]


# Against harm


def test_hostile_texts_stay_texts(opened, desk):
    page = opened(hostile_capture(desk), hostile_capture(desk, name="<b>\u202e.reg"))
    assert page.run("return document.querySelectorAll('main svg, main img, main b, main iframe').length") == 0
    assert page.run("return document.scripts.length") == 2
    shown = page.run("""return [...document.querySelectorAll("#tree .key > .name > span:first-child")].map((of) => of.textContent)""")
    assert set(shown) == {"HKEY_CLASSES_ROOT", "KeyreapRoad", *map(readable, HOSTILE)}
    data = page.run("""return [...document.querySelectorAll("#tree .data")].map((of) => of.textContent)""")
    assert set(data) == set(map(readable, HOSTILE))
    names = [name for role, name, _ in page.named() if role == "treeitem"]
    assert not [name for name in names if any(unseen in name for unseen in "\0\u202e\u2028\u200f\ufeff")]
    assert page.driver.title == "server.reg and <b>\u27e8U+202E\u27e9.reg"
    assert page.run("return getComputedStyle(document.querySelector('#tree .captured')).unicodeBidi") == "isolate"


def readable(text):
    """The text with names in the place of characters that can't be seen, change the order of others, or are half of one."""
    names = {"\0": "NUL", "\x7f": "DEL"}
    unseen = "[\0-\x1f\x7f-\x9f\u200f\u2028-\u202e\u2066-\u2069\ufeff\ufffe\uffff\ud800-\udfff]"
    return re.sub(unseen, lambda found: names.get(found[0], "U+%04X" % ord(found[0])), text)


def test_blanks_and_what_can_not_be_seen_make_a_difference(opened, desk):
    unseen = "\u00a0\u034f\u1680\u2002\u202f\u205f\u2800\u3000\U0001d173\U0001bca0"
    page = opened(desk.capture("[HKEY_CLASSES_ROOT\\k]", *['"%s"=""' % name for name in ("x", "x ", " x", "x  y", "x y", "z" + unseen)]))
    names = page.run("""return [...document.querySelectorAll("#tree .value > .name")].map((of) => of.textContent)""")
    assert set(names) == {"x", "xU+0020", "U+0020x", "x  y", "x y", "z" + "".join("U+%04X" % ord(one) for one in unseen)}
    widths = dict(page.run("""return [...document.querySelectorAll("#tree .value > .name")].map((of) => {
        const range = document.createRange(); range.selectNodeContents(of); return [of.textContent, range.getBoundingClientRect().width] })"""))
    assert widths["x  y"] > widths["x y"]


def test_hostile_texts_can_be_searched(opened, desk):
    page = opened(hostile_capture(desk))
    search(page, "<img")
    assert [text for text in page.texts("#tree mark")] == ["<img"] * 3
    search(page, "(.*")
    assert rows(page) == []


def test_the_policy_stops_every_other_script_style_and_request(calculator):
    stopped = calculator.driver.execute_async_script("""
        const done = arguments[0], stopped = [];
        document.addEventListener("securitypolicyviolation", (event) => stopped.push(event.effectiveDirective));
        const add = (name, change) => { const made = document.createElement(name); change(made); document.body.append(made); };
        const refused = (action) => { try { action(); } catch (error) { stopped.push(error.name); } };
        window.harmed = 0;
        refused(() => document.body.innerHTML = "<b>markup</b>");
        refused(() => add("script", (made) => made.textContent = "window.harmed = 1"));
        add("style", (made) => made.textContent = "body { display: none }");
        add("img", (made) => made.setAttribute("src", "data:image/gif;base64,R0lGODlhAQABAAAAACwAAAAAAQABAAA="));
        fetch("data:text/plain,x").catch(() => setTimeout(() => done(stopped), 100));
    """)
    assert {"TypeError", "require-trusted-types-for", "style-src-elem", "img-src", "connect-src"} <= set(stopped)
    assert calculator.run("return [window.harmed, getComputedStyle(document.body).display]") == [0, "block"]
    assert calculator.messages() != []


def test_a_changed_script_or_style_does_not_run(browser, calculators, tmp_path):
    page = tmp_path / "page.html"
    text = keykit("show", calculators[0]).stdout
    page.write_bytes(text.replace(b'"use strict";', b'"use strict";;').replace(b"body { margin: 0;", b"body { margin: 1px;"))
    browser.open(page)
    assert browser.run("return [document.title, getComputedStyle(document.body).margin]") == ["Capture", "8px"]
    assert len([message for message in browser.messages() if "Content Security Policy" in message]) == 2


def test_the_page_asks_nobody_for_anything(calculator):
    assert calculator.run("return performance.getEntriesByType('resource').map((of) => of.name)") == []


# Large and odd captures


def large_capture(desk, entries):
    """Classes with four keys and five entries each, as large servers have."""
    lines = []
    for number in range(entries // 5):
        key = "HKEY_CLASSES_ROOT\\CLSID\\{%08X-0000-4000-8000-0000000000AA}" % number
        lines += ["[%s]" % key, '@="Class number %d"' % number, "[%s\\InprocServer32]" % key]
        lines += ['@="C:\\\\program files\\\\product\\\\server.dll"', '"ThreadingModel"="Apartment"', "[%s\\ProgID]" % key, '@="Product.Class%d.1"' % number, "[%s\\Version]" % key, '@="1.0"']
    return desk.capture(*lines)


def report(text):
    print(text)
    if "KEYREAP_REPORT" in os.environ:
        with open(os.environ["KEYREAP_REPORT"], "a", encoding="utf-8") as file:
            file.write("      %s\n" % text)


def test_a_capture_of_20000_entries_is_shown_and_searched(opened, desk):
    page = opened(large_capture(desk, 20000))
    assert page.texts("#counts") == ["16,002 keys, 20,000 values"]
    assert rows(page)[:3] == ["HKEY_CLASSES_ROOT", "CLSID", "{00000000-0000-4000-8000-0000000000AA}Class number 0"]
    assert rows(page)[-1] == "Show more: 3,750 items are left"
    assert page.texts("article h3") == sorted("Class number %d" % number for number in range(4000))[:60]
    assert page.texts("section.objects > .more") == ["Show more: 3,940 are left"]
    ready = page.run("""const paint = performance.getEntriesByType("paint").map((of) => of.startTime);
        return Math.max(performance.getEntriesByType("navigation")[0].domContentLoadedEventEnd, ...paint)""")
    searched = page.run("""const begin = performance.now(); model.search("class3999"); renderFiltered();
        document.body.getBoundingClientRect(); return performance.now() - begin""")
    assert rows(page)[2:] == ["{00000F9F-0000-4000-8000-0000000000AA}Class number 3999", "ProgID", "(default)"]
    report("page of 20,000 entries: usable %d ms after the navigation began, searched in %d ms" % (ready, searched))


def test_of_a_long_list_more_is_shown_on_demand(opened, desk):
    page = opened(large_capture(desk, 5 * 300))
    page.run("document.querySelector('#tree .more').scrollIntoView({ block: 'center' })")
    page.click("#tree .more")
    assert focused(page).startswith("{000000FA-")
    assert (len(page.texts("#tree [aria-level='3'].key")), page.texts("#tree .more")) == (300, [])
    page.run("document.querySelector('#objects button.more').scrollIntoView({ block: 'center' })")
    page.click("#objects button.more")
    assert len(page.texts("article")) == 120
    assert page.run("return document.activeElement === document.querySelectorAll('article')[60]")


def test_of_many_findings_more_is_shown_on_demand(opened, desk):
    lines = ["[HKEY_CLASSES_ROOT\\x]", *['"%d"="D:\\\\x"' % number for number in range(450)]]
    page = opened(desk.capture(*lines))
    assert (page.texts("#findings-title"), len(page.texts("#findings li"))) == (["Findings 450"], 200)
    for shown in (400, 450):
        page.run("document.querySelector('#findings .more').scrollIntoView({ block: 'center' })")
        page.click("#findings .more")
        assert len(page.texts("#findings li")) == shown
        assert page.run("return document.activeElement === document.querySelectorAll('#findings li')[arguments[0]]", (shown - 1) // 200 * 200)
    assert page.texts("#findings .more") == []


def test_a_link_leads_into_the_rest_of_a_long_list(opened, desk):
    page = opened(large_capture(desk, 5 * 300))
    search(page, "number 299")
    page.click("article .keys")
    assert focused(page).startswith("{0000012B-")
    page.press(Keys.ESCAPE)
    page.wait("return document.getElementById('words').value === ''")
    page.run("goToKey(model.objects.find((of) => of.name === 'Class number 299').keys[0])")
    assert focused(page).startswith("{0000012B-")


def test_too_many_keys_are_not_unfolded_at_once(opened, desk):
    page = opened(large_capture(desk, 5 * 1000))
    page.click("#unfold")
    assert page.texts("#status") == ["There are too many keys to unfold all of them. Keys further down are folded."]
    assert 1000 < len(rows(page)) <= 3000


def test_deeply_nested_keys_are_shown(opened, desk):
    page = opened(desk.capture("[HKEY_CLASSES_ROOT\\%s]" % "\\".join(["x"] * 5000), '@="deep"'))
    assert page.texts("#counts") == ["5,001 keys, 1 value"]
    search(page, "deep")
    page.click("#unfold")
    assert page.texts("#status") == ["There are too many keys to unfold all of them. Keys further down are folded."]


def test_long_data_are_cut_with_a_remark(opened, desk):
    page = opened(desk.capture("[HKEY_CLASSES_ROOT\\x]", "@=hex:" + ",".join(["ab"] * 3000)))
    assert page.texts("#tree .tag") == ["952 more bytes not shown"]


def test_a_capture_without_entries_has_a_page(opened, desk):
    page = opened(desk.capture())
    assert (page.texts("#counts"), page.texts("#nothing")) == (["0 keys, 0 values"], ["No key matches."])
