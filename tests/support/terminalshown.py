"""What a command prints to a terminal."""

import os


def shown_at(terminal):
    """All that reaches one end of a terminal until its other end is closed everywhere; closes this one."""
    text = b""
    try:
        while piece := os.read(terminal, 4096):
            text += piece
    except OSError:
        pass
    os.close(terminal)
    return text.decode()
