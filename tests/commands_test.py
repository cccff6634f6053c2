#!/usr/bin/env python3
"""The commands of scripts/ and .ci/ in a copy of the tree that holds a project of one test, which needs no compiler.
Called without arguments."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PROJECT = "project('spdm-client')\ntest('passes', find_program('true'))\n"
COMMANDS = [*(f"scripts/{name}" for name in ("build", "demo", "fuzz", "package", "setup", "test")), ".ci/run"]
# What would install, configure or build something.
WORKERS = ("apt-get", "clang++", "dpkg", "dpkg-query", "meson", "ninja")


def write_program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(f"#!/bin/sh\n{text}\n")
    path.chmod(0o755)


class Tree:
    """The copy, removed at the end of a `with` statement."""

    def __enter__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="spdm-commands-"))
        for name in ("scripts", ".ci", "fuzz"):
            shutil.copytree(ROOT / name, self.folder / name)
        (self.folder / "tests").mkdir()
        for name in ("tests/count_results.py", "meson_options.txt"):
            shutil.copy(ROOT / name, self.folder / name)
        (self.folder / "meson.build").write_text(PROJECT)
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder)

    def run(self, *words, **env):
        return subprocess.run(
            [self.folder / words[0], *words[1:]], env=os.environ | env, cwd="/", capture_output=True, text=True
        )


def test_a_name_that_no_test_has():
    with Tree() as tree:
        write_program(tree.folder / "scripts/setup", "exit 0")
        first = tree.run("scripts/test")
        assert first.returncode == 0, first
        assert first.stdout.endswith("\n1 passed, 0 failed\n"), first.stdout
        second = tree.run("scripts/test", "pases")
        assert second.returncode == 1, second
        assert second.stderr.endswith("no test ran\n"), second.stderr
        assert "passed" not in second.stdout, second.stdout


def test_help_is_all_that_is_done():
    with Tree() as tree:
        called = tree.folder / "called"
        for name in WORKERS:
            write_program(tree.folder / "path" / name, f"echo {name} >>'{called}'; exit 1")
        path = f"{tree.folder / 'path'}:{os.environ['PATH']}"
        for command in COMMANDS:
            for option in ("-h", "--help"):
                done = tree.run(command, option, PATH=path)
                assert done.returncode == 0, done
                assert f"\nUsage: {command}" in done.stdout, done
                assert done.stderr == "", done
                assert not called.exists(), f"{command}: {called.read_text()}"


def test_drivers_without_programs():
    done = subprocess.run([ROOT / "tests/soak_test.py"], capture_output=True, text=True)
    assert done.returncode == 1, done
    assert "Called as: FILE CLIENT SIMULATOR" in done.stderr and "Traceback" not in done.stderr, done.stderr


def main():
    test_a_name_that_no_test_has()
    test_help_is_all_that_is_done()
    test_drivers_without_programs()


if __name__ == "__main__":
    main()
