"""Runs the package's tests with pytest, or skips them (exit status 77)
with the reason when pytest or numpy is missing."""

import sys

missing = []
for name, package in (("pytest", "python3-pytest"), ("numpy", "python3-numpy")):
    try:
        __import__(name)
    except ImportError:
        missing.append(f"{name} (Debian package {package})")
if missing:
    print("skipped: " + ", ".join(missing) + " not installed for " + sys.executable)
    sys.exit(77)

import pytest  # noqa: E402

# No cache: the tests run from the source tree, which they must not write to.
sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", sys.argv[1]]))
