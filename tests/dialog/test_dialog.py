"""The error dialog as its user has it: in a window, with the mouse and the keyboard. Leaves pictures of it in
build/pictures."""

import pytest

from windowsession import ROOT, Dialog, Display, Program

SHORT = "Keyreap has stopped because of an unexpected error.\r\nThis is a second line."
DETAILS = "[EXCEPTION_UNHANDLED] (0xc0000005)\r\n\r\nnarrow iiiiiiii |\r\nwide   WWWWWWWW |\r\n"


@pytest.fixture
def display():
    """One for each test, because a display keeps the keyboard's focus and the mouse where they were."""
    shown = Display()
    yield shown
    shown.close()


def test_windows_examined_by_their_own_process(display):
    with Program(display, "window_tests.exe", "--gtest_color=no", session=["--checked-heaps"]) as program:
        status = program.status(600)
        failed = [line for line in program.lines() if line.startswith("[  FAILED  ]")]
        assert (status, failed) == (0, []), "\n".join(program.lines())
        assert any(line.startswith("[  PASSED  ]") for line in program.lines())


def test_closed_it_shows_the_text_and_two_buttons(display):
    with Dialog(display, SHORT, DETAILS) as dialog:
        dialog.still_picture("closed")
        assert [name for name in dialog.state() if dialog.shows(name)] == ["window", "1", "500", "501", "503"]
        assert dialog.text("501") == SHORT


def test_details_opens_the_box_below(display):
    with Dialog(display, SHORT, DETAILS) as dialog:
        dialog.toggle()
        dialog.still_picture("opened")
        assert dialog.text("502") == DETAILS
        assert dialog.text("503") == "Details <<"
        assert dialog.shows("504")


def test_nothing_drifts_however_often_details_is_clicked(display):
    with Dialog(display, SHORT, DETAILS) as dialog:
        at_first = dialog.places()
        dialog.toggle()
        dialog.toggle()  # now the button has the focus, which the picture shows
        looks = {}
        for number in range(8):
            picture = dialog.still_picture(f"toggled-{number}")
            opened = dialog.shows("502")
            assert opened == (number % 2 == 1)
            assert looks.setdefault(opened, (picture, dialog.places())) == (picture, dialog.places())
            dialog.toggle()
        assert looks[False][1] == at_first
        assert looks[False] != looks[True]


def test_without_details_there_is_only_close(display):
    with Dialog(display, SHORT, "") as dialog:
        dialog.still_picture("without-details")
        assert [name for name in dialog.state() if dialog.shows(name)] == ["window", "1", "500", "501"]
        dialog.click_control("1")
        assert dialog.ended()


def test_thirty_lines_are_seen_whole(display):
    short = "\r\n".join(f"line {number} of thirty" for number in range(1, 31))
    with Dialog(display, short, "") as dialog:
        dialog.still_picture("thirty-lines")
        top = dialog.state()["501"]["place"][1]
        assert dialog.state()["501"]["place"][3] + top < dialog.state()["1"]["place"][1]


def test_copy_puts_the_details_on_the_clipboard(display):
    with Dialog(display, SHORT, DETAILS) as dialog:
        dialog.toggle()
        dialog.click_control("504")
        dialog.still_picture("copied")
        assert dialog.reported("clipboard")[-1] == DETAILS


def test_the_send_button_sends_the_details(display):
    with Dialog(display, SHORT, DETAILS, "send") as dialog:
        dialog.still_picture("with-send")
        assert dialog.text("505") == "Send Error Report"
        dialog.click_control("505")
        dialog.still_picture("sent")
        assert dialog.reported("sent") == [len(DETAILS)]


@pytest.mark.parametrize("key", ["Escape", "Return"])
def test_a_key_closes_it(display, key):
    with Dialog(display, SHORT, DETAILS) as dialog:
        assert dialog.ends_with(key) == 0


def test_the_box_in_its_caption_closes_it(display):
    with Dialog(display, SHORT, DETAILS) as dialog:
        left, top, width, _ = dialog.state()["window"]["place"]
        dialog.click(left + width - 14, top + 12)
        assert dialog.ended()


@pytest.mark.parametrize("corner", [(1, 1), (0, 1), (1, 0), (0, 0)])
def test_it_can_not_be_resized_by_hand(display, corner):
    with Dialog(display, SHORT, DETAILS) as dialog:
        left, top, width, height = dialog.state()["window"]["place"]
        grip = (left + corner[0] * (width - 1), top + corner[1] * (height - 1))
        dialog.drag(grip, (grip[0] + 80 * (2 * corner[0] - 1), grip[1] + 80 * (2 * corner[1] - 1)))
        dialog.still_picture("dragged")
        assert dialog.state()["window"]["place"][2:] == [width, height]


def test_a_fault_shows_it_and_the_program_ends_with_the_faults_code(display):
    with Program(display, "fault_program.exe", "read-null") as program:
        window = program.window("Error")
        program.picture(window, "fault")
        assert program.ends_with("Escape") == 0xC0000005 & 0xFF


STAGE = ROOT / "build" / "stage" / "bin"


def capturing_a_fault(bitness):
    """The words of a capture whose target faults."""
    server = ROOT / "build" / "samples" / bitness / "faultDivideByZero.dll"
    return ["extreg", "Z:" + str(server).replace("/", "\\"), "none.reg", "keyRedir"]


# The companion's fault, and the fault of the 32-bit program itself.
@pytest.mark.parametrize("program", ["x64", "x86"])
def test_a_fault_in_a_32_bit_target_ends_the_run_with_its_code_and_no_window(display, program):
    with Program(display, STAGE / program / "Keyreap.exe", *capturing_a_fault("x86")) as run:
        assert run.status() == 0xC0000094 & 0xFF


def test_a_fault_in_a_64_bit_target_shows_the_dialog(display):
    with Program(display, STAGE / "x64" / "Keyreap.exe", *capturing_a_fault("x64")) as run:
        run.window("Error")
        assert run.ends_with("Escape") == 0xC0000094 & 0xFF
