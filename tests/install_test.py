#!/usr/bin/env python3
"""Installs the build into a folder, compares the files there with those of the packages, and runs the
programs from there. Compares also what other configurations install, or refuse. Called as: FILE CLIENT SIMULATOR"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import exe_wrapper
from package_test import (
    CLIENT_FILES,
    SIMULATOR_FILES,
    TOOLS_FILES,
    check_programs,
    check_report,
    check_run,
    files_below,
    listing,
    require_equal,
    run,
)

# What only a package has.
ADDED = ("changelog.gz", "copyright")
DOCUMENTS = ("share/doc/", "share/man/")


def installed(files, documents):
    """A package's files as Meson installs them below the prefix, with the documents or without."""
    names = {
        name.removeprefix("usr/").removesuffix(".gz"): mode for name, mode in files.items() if not name.endswith(ADDED)
    }
    return {name: mode for name, mode in names.items() if documents or not name.startswith(DOCUMENTS)}


def has_documents(build):
    options = json.loads(run("meson", "introspect", "--buildoptions", build).stdout)
    return next(option["value"] for option in options if option["name"] == "docs") == "enabled"


def check_install(build, folder):
    run("meson", "install", "-C", build, "--no-rebuild", "--destdir", folder)
    prefix = folder / "usr/local"
    # Without its libraries it is left out.
    has_report = (build / "spdm-report").exists()
    files = installed(CLIENT_FILES | SIMULATOR_FILES | (TOOLS_FILES if has_report else {}), has_documents(build))
    require_equal(listing(files), listing(files_below(prefix)), "the installed files")
    check_programs(prefix)
    if has_report:
        check_report(prefix)
        check_run(prefix)


def check_image(source, folder, documents):
    """What the README's options for an image install, and with the documents."""
    options = ("--prefix=/usr", "-Dtests=disabled", "-Dsimulator=disabled", "-Dreport=disabled")
    run("meson", "setup", folder, source, *options, *(["-Ddocs=enabled"] if documents else []))
    found = json.loads(run("meson", "introspect", "--installed", folder).stdout).values()
    expected = ["/usr/" + name for name in installed(CLIENT_FILES, documents)]
    require_equal(sorted(expected), sorted(found), f"the files for an image, documents: {documents}")


def check_tests_need_simulator(source, folder):
    options = ("-Dtests=enabled", "-Dsimulator=disabled")
    setup = subprocess.run(["meson", "setup", folder, source, *options], capture_output=True, text=True)
    assert setup.returncode != 0, setup.stdout
    assert "the tests need the simulator: -Dsimulator=enabled\n" in setup.stdout, setup.stdout


def main():
    with tempfile.TemporaryDirectory(prefix="spdm-install-") as folder:
        check_install(Path(sys.argv[1]).parent, Path(folder) / "root")
        # A cross build puts the target's assembler first in PATH, so that Meson cannot configure for this machine.
        if not exe_wrapper():
            source = Path(__file__).resolve().parent.parent
            check_image(source, Path(folder) / "image", documents=False)
            check_image(source, Path(folder) / "documents", documents=True)
            check_tests_need_simulator(source, Path(folder) / "without")


if __name__ == "__main__":
    main()
