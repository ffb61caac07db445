#!/usr/bin/env bash
# run.sh FOLDER: tests the command-line tools built in FOLDER. The last line is "N passed, N failed".
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
exec python3 "$here/tools_test.py" "$(cd "$1" && pwd)"
