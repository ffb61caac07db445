#!/usr/bin/env bash
# run.sh FOLDER [PYTEST ARGUMENTS]: tests the command-line tools built in FOLDER. The last line is "N passed, N failed".
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
VXT_TOOLS=$(cd "$1" && pwd) exec /usr/bin/python3 -B -m pytest -q -n auto --tb=short -p no:cacheprovider "$here" "${@:2}"
