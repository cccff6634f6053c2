#!/usr/bin/env python3
"""The commands of scripts/ and .ci/ in a copy of the tree that holds a project of one test, which needs no compiler.
Called without arguments."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from harness import Process

ROOT = Path(__file__).resolve().parent.parent
PROJECT = """project('spdm-client')
custom_target(command: ['touch', '@OUTPUT@'], output: 'built', build_by_default: true)
test('passes', find_program('true'))
"""
COMMANDS = [*(f"scripts/{name}" for name in ("build", "demo", "fuzz", "package", "setup", "test")), ".ci/run"]
# What would install, configure or build something.
BUILDERS = ("apt-get", "clang++", "dpkg", "dpkg-query", "meson", "ninja")


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

    def add_programs(self, **programs):
        """Shell scripts in the folder "path" that replace programs."""
        for name, text in programs.items():
            write_program(self.folder / "path" / name, text)

    @property
    def path(self):
        return f"{self.folder / 'path'}:{os.environ['PATH']}"

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
        tree.add_programs(**{name: f"echo {name} >>'{called}'; exit 1" for name in BUILDERS})
        for command in COMMANDS:
            for option in ("-h", "--help"):
                done = tree.run(command, option, PATH=tree.path)
                assert done.returncode == 0, done
                assert f"\nUsage: {command}" in done.stdout, done
                assert done.stderr == "", done
                assert not called.exists(), f"{command}: {called.read_text()}"


def test_a_build_at_a_terminal_shows_progress():
    with Tree() as tree:
        build = Process([tree.folder / "scripts/build"], terminal=True, wrapper=[])
        try:
            build.wait_for("the first build takes a minute or two\r\nbuilding...\r\n")
            build.wait_for("[1/1] Generating built")
            assert build.wait() == 0, build.seen
        finally:
            build.stop()
        (tree.folder / "build/built").unlink()
        again = tree.run("scripts/build")
        assert (again.returncode, again.stdout, again.stderr) == (0, "", "building...\n"), again
        assert (tree.folder / "build/built").exists()


def test_missing_packages():
    with Tree() as tree:
        tree.add_programs(
            **{
                "apt-get": """case $* in *--print-uris*) echo "'u' a.deb 1000000 h"; echo "'u' b.deb 61400000 h" ;; esac
echo "apt-get $*" >&2""",
                "dpkg-query": "case $* in *ninja-build | *nlohmann-json3-dev) exit 1 ;; *) echo installed ;; esac",
                "id": "echo 1000",
            }
        )
        user = tree.run("scripts/setup", "demo", PATH=tree.path)
        assert user.returncode == 1, user
        install = "install --no-install-recommends ninja-build nlohmann-json3-dev\n"
        assert user.stderr.endswith(f"then try again:\n  apt-get update\n  apt-get {install}"), user.stderr
        tree.add_programs(id="echo 0")
        root = tree.run("scripts/setup", "demo", PATH=tree.path)
        assert root.returncode == 0, root
        assert "\ninstalling 2 packages, about 62 MB to download\n" in root.stderr, root.stderr
        assert root.stderr.endswith(f"apt-get -q -y {install}"), root.stderr


def test_another_distribution():
    """Without dpkg, the tools are looked for, not the packages."""
    with Tree() as tree:
        tree.add_programs(**{name: "exit 0" for name in ("c++", "meson", "ninja", "dbus-daemon", "openssl", "busctl")})
        tree.add_programs(**{"pkg-config": '[ "$*" != "--exists gtest" ]'})
        for name in ("bash", "dirname"):
            (tree.folder / "path" / name).symlink_to(shutil.which(name))
        path = str(tree.folder / "path")
        complete = tree.run("scripts/setup", "demo", PATH=path)
        assert (complete.returncode, complete.stderr) == (0, ""), complete
        incomplete = tree.run("scripts/setup", "test", PATH=path)
        assert incomplete.returncode == 1, incomplete
        names = ("the pkg-config module gtest", "the command dbus-send", "the command jq",
                 "the Python module jsonschema", "the Python module junitparser", "the command xxd")
        assert incomplete.stderr.endswith("try again:\n" + "".join(f"  {name}\n" for name in names)), incomplete


def test_drivers_without_programs():
    done = subprocess.run([ROOT / "tests/soak_test.py"], capture_output=True, text=True)
    assert done.returncode == 1, done
    assert "Called as: FILE CLIENT SIMULATOR" in done.stderr and "Traceback" not in done.stderr, done.stderr


def main():
    test_a_name_that_no_test_has()
    test_help_is_all_that_is_done()
    test_a_build_at_a_terminal_shows_progress()
    test_missing_packages()
    test_another_distribution()
    test_drivers_without_programs()


if __name__ == "__main__":
    main()
