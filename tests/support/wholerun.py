"""For the conftest.py of a folder: a test with the mark `whole` runs only in the folder's whole run, such as ./test hosts."""

import os

WHOLE = os.environ.get("KEYREAP_SAMPLE") == "1"


def pytest_configure(config):
    config.addinivalue_line("markers", "whole: a test of the whole run")


def pytest_collection_modifyitems(config, items):
    left_out = [item for item in items if not WHOLE and item.get_closest_marker("whole")]
    config.hook.pytest_deselected(items=left_out)
    items[:] = [item for item in items if item not in left_out]
