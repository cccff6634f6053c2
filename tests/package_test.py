#!/usr/bin/env python3
"""Unpacks built Debian packages into a folder of its own, checks what they hold, and runs the programs
from there. scripts/package makes the packages. Called as: FILE CLIENT.deb SIMULATOR.deb"""

import difflib
import os
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import Bench, mask

ARM64_WRAPPER = "qemu-aarch64-static"

TESTS = Path(__file__).resolve().parent
PROGRAM, DATA = 0o755, 0o644
CLIENT_FILES = {
    "usr/bin/spdm-client": PROGRAM,
    "usr/share/dbus-1/interfaces/com.varn.bmc.spdm.spdm.xml": DATA,
    "usr/share/doc/spdm-client/changelog.gz": DATA,
    "usr/share/doc/spdm-client/copyright": DATA,
    "usr/share/doc/spdm-client/service.md": DATA,
    "usr/share/doc/spdm-client/usage.md": DATA,
    "usr/share/man/man1/spdm-client.1.gz": DATA,
}
KEYS = ("ed25519", "ed448", "p256", "p384", "p521", "rsa2048", "rsa3072", "rsa4096")
SIMULATOR_FILES = {
    "usr/bin/spdm-simulator": PROGRAM,
    "usr/share/dbus-1/system.d/spdm-simulator.conf": DATA,
    "usr/share/doc/spdm-simulator/README.md": DATA,
    "usr/share/doc/spdm-simulator/changelog.gz": DATA,
    "usr/share/doc/spdm-simulator/copyright": DATA,
    "usr/share/man/man1/spdm-simulator.1.gz": DATA,
    "usr/share/spdm-simulator/fleets/bench.json": DATA,
    "usr/share/spdm-simulator/fleets/live.json": DATA,
    "usr/share/spdm-simulator/fleets/signing.json": DATA,
    **{f"usr/share/spdm-simulator/fleets/keys/{name}.pem": DATA for name in KEYS},
}

# The device at index 2 fails its re-authentication, so another fleet, or none, is noticed.
TYPED = "2\n2\n1\n8\n-1\n9\n4\n"


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, **options)


def field(package, name):
    return run("dpkg-deb", "-f", package, name).stdout.strip()


def unpack(package, folder):
    run("dpkg-deb", "-x", package, folder)
    return folder


def require_equal(expected, actual, what):
    """Fails with a unified diff of the two lists of lines."""
    difference = list(difflib.unified_diff(expected, actual, "expected", "actual", lineterm=""))
    assert not difference, "\n".join([f"{what}:", *difference])


def listing(files):
    return sorted(f"{mode:04o} {name}" for name, mode in files.items())


def files_below(folder):
    return {
        str(path.relative_to(folder)): path.lstat().st_mode & 0o7777
        for path in folder.rglob("*")
        if path.is_symlink() or not path.is_dir()
    }


def check_owners(package):
    for line in run("dpkg-deb", "-c", package).stdout.splitlines():
        assert line.split()[1] == "root/root", f"{package}: {line}"


def check_folders(folder):
    for path in folder.rglob("*"):
        if path.is_dir():
            assert path.stat().st_mode & 0o7777 == 0o755, f"{path}: not of mode 0755"


def check_manual(page, title, version):
    env = dict(os.environ, LC_ALL="C.UTF-8", MANWIDTH="80")
    shown = run("man", "--warnings", "-l", page, env=env)
    assert not shown.stderr, f"{page}:\n{shown.stderr}"
    assert shown.stdout.startswith(title), f"{page} begins with {shown.stdout[:80]!r}"
    assert version in shown.stdout.splitlines()[-1], f"{page} is not of version {version}: {shown.stdout[-200:]!r}"


def check_programs(prefix):
    """The installed client on a private bus, against the installed simulator and one of its fleets."""
    programs = (prefix / "bin/spdm-client", prefix / "bin/spdm-simulator")
    expected = (TESTS / "package_transcript.txt").read_text(encoding="utf-8")
    with Bench(*programs) as bench:
        bench.start_simulator(prefix / "share/spdm-simulator/fleets/bench.json")
        output = mask(bench.run_client(TYPED).seen)
        require_equal(expected.split("\n"), output.split("\n"), "the transcript")
    run(sys.executable, TESTS / "monitor/fleets_test.py", *programs, "one-by-one")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    client, simulator = (Path(name).resolve() for name in sys.argv[1:])
    assert field(client, "Package") == "spdm-client", client
    assert field(simulator, "Package") == "spdm-simulator", simulator
    assert "libssl3" in field(simulator, "Depends"), "the simulator signs with libcrypto"
    os.environ.pop("LD_LIBRARY_PATH", None)
    if field(client, "Architecture") == "arm64" and os.uname().machine != "aarch64":
        os.environ["MESON_EXE_WRAPPER"] = ARM64_WRAPPER

    with tempfile.TemporaryDirectory(prefix="spdm-package-") as name:
        folder = Path(name) / "root"
        for package, files in ((client, CLIENT_FILES), (simulator, SIMULATOR_FILES)):
            alone = unpack(package, Path(name) / package.name)
            require_equal(listing(files), listing(files_below(alone)), str(package))
            check_folders(alone)
            check_owners(package)
            unpack(package, folder)
        for program in ("spdm-client", "spdm-simulator"):
            page = folder / f"usr/share/man/man1/{program}.1.gz"
            check_manual(page, f"{program.upper()}(1)", field(client, "Version"))
        check_programs(folder / "usr")


if __name__ == "__main__":
    main()
