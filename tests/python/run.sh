#!/bin/sh
# run.sh FOLDER: runs the tests of the folder; status 77 without pytest.
/usr/bin/python3 -c "import pytest" 2>/dev/null || {
  echo "skipped: python3-pytest is not installed"
  exit 77
}
PYTHONPATH=. exec /usr/bin/python3 -B -m pytest -q -p no:cacheprovider "$1"
