"""Starts Windows programs, for scripts that run inside a Wine session."""

import subprocess


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def wine(*words):
    """The exit status of a Windows program. The host sees only its low eight bits."""
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.run(["wine", *words], timeout=300, **quiet).returncode
