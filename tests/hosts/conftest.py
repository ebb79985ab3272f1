"""What takes minutes in each release runs only in the whole run, ./test hosts."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from wholerun import WHOLE, pytest_collection_modifyitems, pytest_configure  # noqa: E402, F401
