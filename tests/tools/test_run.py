"""./run itself, in a copy with a compiler, a package manager and programs that are only played."""

import os
import pathlib
import shutil
import signal
import subprocess
import time

import pytest

from tools import SOURCE, Answer, read, table, write

PLAYED = {
    "cmake": '''case $1 in
--fresh) mkdir -p "build/$3" && echo half >"build/$3/build.ninja" && sleep ${CONFIGURING:-0}
    echo whole >"build/$3/build.ninja"; echo "$CCACHE_DIR" >cache ;;
--build) [ -z "$BROKEN" ] || { echo "the compiler's words" && exit 1; }
    [ "$(cat "$2/build.ninja")" = whole ] || exit 9
    mkdir -p "$2/bin" && [ ! -e "$2/bin/vxtdiag" ] || exit 0
    for i in 1 2 3 4 5 6 7 8 9; do echo "[$i/9] Building"; sleep ${STEP:-0}; done
    for tool in vxtctl vxtdiag; do
        printf '#!/bin/sh\\nprintf "%%s\\\\n" %s "$@"\\n' $tool >"$2/bin/$tool" && chmod +x "$2/bin/$tool"
    done ;;
esac''',
    "ccache": 'echo "${CACHE:-$PWD/the cache}"',
    "dpkg-query": '[ -n "$MISSING" ] || exec /usr/bin/dpkg-query "$@"',
    "dpkg": "true", "sudo": '"$@"', "nproc": "echo 4",
    "apt-get": 'echo "the archive is away"; exit 100',
}


@pytest.fixture
def copy():
    """A checkout in a folder with blanks and letters, and its ./run by a link from elsewhere."""
    folder = pathlib.Path("ein Weg ü")
    os.makedirs(folder / "scripts")
    shutil.copy(SOURCE / "run", folder)
    for script in ("build.sh", "packages.sh"):
        shutil.copy(SOURCE / "scripts" / script, folder / "scripts")
    write(folder / "scripts/windows_run.sh", 'printf "%s\\n" windows "$@"')
    os.mkdir("played")
    for name, body in PLAYED.items():
        write(f"played/{name}", f"#!/bin/sh\n{body}\n")
    for script in [folder / "scripts/windows_run.sh", *pathlib.Path("played").iterdir()]:
        os.chmod(script, 0o755)
    os.symlink(folder / "run", "link")
    return folder


def start(*arguments, **env):
    path = f"{os.getcwd()}/played:{os.environ['PATH']}"
    return subprocess.Popen(["./link", *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, env={**os.environ, "PATH": path, **env}, start_new_session=True)


def wait_for(path, child):
    while not path.exists():
        assert child.poll() is None, child.communicate()
        time.sleep(0.02)


def end(child):
    out, err = child.communicate(timeout=60)
    return Answer(child.returncode, out.decode(), err.decode())


def test_the_first_run_tells_what_it_does_and_the_next_one_nothing(copy):
    first, second = end(start("cpu", "--diag", "a b")), end(start("--diag", "--", "--windows"))
    assert first == (0, "vxtctl\ncpu\n--diag\na b\n", "Building VXTAPI, vxtctl (native) for the first time, about 1 minute on 4 cores ...\n")
    assert second == (0, "vxtdiag\n--windows\n", "")


@table("arguments, expected", [("--windows --diag cpu", "windows\n--diag\ncpu\n"), ("--diag --windows cpu", "windows\n--diag\ncpu\n"), ("--windows -- --diag", "windows\n--diag\n")])
def test_the_windows_programs_are_run_in_either_order_of_the_options(copy, arguments, expected):
    assert end(start(*arguments.split())) == (0, expected, "")


def test_help_tells_its_own_options_and_does_nothing(copy):
    found = end(start("--help", MISSING="yes"))
    assert found.code == 0 and all(word in found.out for word in ("--diag", "--windows", "two minutes", "build/logs"))
    assert max(map(len, found.out.splitlines())) <= 80 and not (copy / "build").exists()
    assert end(start("--diag", "--help")).out == "vxtdiag\n--help\n"


@table("when, env", [("configuring", {"CONFIGURING": "30"}), ("building", {"STEP": "5"})])
@table("how", [signal.SIGINT, signal.SIGKILL])
def test_after_an_interruption_the_next_run_works(copy, when, env, how):
    child = start(**env)
    wait_for(copy / ("build/native/build.ninja" if when == "configuring" else "build/native/bin"), child)
    os.killpg(child.pid, how)
    stopped = end(child)
    assert (stopped.code, stopped.out) == ((130, "") if how == signal.SIGINT else (-how, ""))
    assert ("interrupted" in stopped.err) == (how == signal.SIGINT)
    assert end(start())[:2] == (0, "vxtctl\n")


def test_a_second_run_waits_for_the_first_and_says_so(copy):
    first = start(STEP="0.1")
    wait_for(copy / "build/native/bin", first)
    second = end(start("x"))
    assert second == (0, "vxtctl\nx\n", "Waiting for another run that is building native ...\n") and end(first).code == 0


def test_a_failure_names_what_failed_and_where_the_log_is(copy):
    for env, words, log in (({"BROKEN": "yes"}, "the compiler's words", "build-native.log"), ({"MISSING": "yes"}, "the archive is away", "packages.log")):
        found = end(start(**env))
        assert (found.code, found.out) == (1, "") and words in found.err and found.err.rstrip().endswith(f"{copy.resolve()}/build/logs/{log}")
        assert words in read(copy / "build/logs" / log)


def test_a_compiler_cache_that_cannot_be_written_is_replaced_by_one_of_its_own(copy):
    assert end(start(CACHE="/proc/nowhere")).code == 0
    assert read(copy / "cache") == f"{copy.resolve()}/build/ccache\n"
