#!/usr/bin/env python3
"""Installs the build into a folder, compares the files there with those of the packages, and runs the
programs from there. Called as: FILE CLIENT SIMULATOR"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import exe_wrapper
from package_test import CLIENT_FILES, SIMULATOR_FILES, check_programs, files_below, listing, require_equal, run

# What only a package has.
ADDED = ("changelog.gz", "copyright")


def installed(files):
    return {
        name.removeprefix("usr/").removesuffix(".gz"): mode
        for name, mode in files.items()
        if not name.endswith(ADDED)
    }


def check_install(build, folder):
    run("meson", "install", "-C", build, "--no-rebuild", "--destdir", folder)
    prefix = folder / "usr/local"
    files = {**installed(CLIENT_FILES), **installed(SIMULATOR_FILES)}
    require_equal(listing(files), listing(files_below(prefix)), "the installed files")
    check_programs(prefix)


def check_without_simulator(source, folder):
    """A build that is configured without the simulator, built or not, installs the client's files only."""
    run("meson", "setup", folder, source, "--prefix=/usr", "-Dtests=disabled", "-Dsimulator=disabled")
    found = json.loads(run("meson", "introspect", "--installed", folder).stdout).values()
    names = {name.removeprefix("/usr/") for name in found}
    assert "bin/spdm-client" in names, names
    assert names <= installed(CLIENT_FILES).keys(), names - installed(CLIENT_FILES).keys()


def check_tests_need_simulator(source, folder):
    options = ("-Dtests=enabled", "-Dsimulator=disabled")
    setup = subprocess.run(["meson", "setup", folder, source, *options], capture_output=True, text=True)
    assert setup.returncode != 0, setup.stdout
    assert "the tests need the simulator: -Dsimulator=enabled\n" in setup.stdout, setup.stdout


def main():
    with tempfile.TemporaryDirectory(prefix="spdm-install-") as folder:
        check_install(Path(sys.argv[1]).parent, Path(folder) / "root")
        # In a cross-built test's path the target's assembler comes first, so nothing can be configured.
        if not exe_wrapper():
            source = Path(__file__).resolve().parent.parent
            check_without_simulator(source, Path(folder) / "build")
            check_tests_need_simulator(source, Path(folder) / "without")


if __name__ == "__main__":
    main()
