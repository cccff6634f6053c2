#!/usr/bin/env python3
"""Unpacks built Debian packages into a folder of its own, checks what they hold, and runs the programs
from there. scripts/package makes the packages. Called as: FILE CLIENT.deb SIMULATOR.deb TOOLS.deb"""

import difflib
import os
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import Bench, exe_wrapper, mask

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
TOOLS_FILES = {
    "usr/bin/spdm-report": PROGRAM,
    "usr/bin/spdm-run": PROGRAM,
    "usr/share/bash-completion/completions/spdm-report": DATA,
    "usr/share/bash-completion/completions/spdm-run": DATA,
    "usr/share/doc/spdm-tools/changelog.gz": DATA,
    "usr/share/doc/spdm-tools/copyright": DATA,
    "usr/share/doc/spdm-tools/report.md": DATA,
    "usr/share/doc/spdm-tools/report.schema.json": DATA,
    "usr/share/man/man1/spdm-report.1.gz": DATA,
    "usr/share/man/man1/spdm-run.1.gz": DATA,
}
# The client must not need them.
TOOLS_LIBRARIES = ("libfmt", "libpugixml", "libzstd", "zlib1g")

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


def check_report(prefix):
    """The installed spdm-report on that transcript, in which a device fails."""
    transcript = (TESTS / "package_transcript.txt").read_text(encoding="utf-8").replace("<us>", "7")
    command = [*exe_wrapper(), prefix / "bin/spdm-report", "-"]
    done = subprocess.run(command, input=transcript, capture_output=True, encoding="utf-8")
    assert done.returncode == 1 and not done.stderr, f"spdm-report: status {done.returncode}\n{done.stderr}"
    assert done.stdout.startswith("✗ failed  CPU-2-B007 (EID 12)  ReAuthenticate: Failed  -:"), done.stdout


def check_run(prefix):
    """The installed spdm-run finds the installed client, and the device that fails."""
    with Bench(prefix / "bin/spdm-client", prefix / "bin/spdm-simulator") as bench:
        bench.start_simulator(prefix / "share/spdm-simulator/fleets/bench.json")
        client = shlex.join([*exe_wrapper(), str(prefix / "bin/spdm-client")])
        command = [prefix / "bin/spdm-run", "properties", "--quiet", "--output", bench.folder / "out", "--client", client]
        process = bench.start(command)
        process.read_to_end()
        assert (process.wait(), process.stderr()) == (1, ""), process.stderr()
        assert "✗ failed  CPU-2-B007 (EID 12)  ReAuthenticate: Failed  " in process.seen, process.seen


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    client, simulator, tools = (Path(name).resolve() for name in sys.argv[1:])
    for package, name in ((client, "spdm-client"), (simulator, "spdm-simulator"), (tools, "spdm-tools")):
        assert field(package, "Package") == name, package
    for library in TOOLS_LIBRARIES:
        assert library in field(tools, "Depends"), library
        assert library not in field(client, "Depends"), f"the client needs {library}"
    assert "libssl3" in field(simulator, "Depends"), "the simulator signs with libcrypto"
    os.environ.pop("LD_LIBRARY_PATH", None)
    if field(client, "Architecture") == "arm64" and os.uname().machine != "aarch64":
        os.environ["MESON_EXE_WRAPPER"] = ARM64_WRAPPER

    with tempfile.TemporaryDirectory(prefix="spdm-package-") as name:
        folder = Path(name) / "root"
        for package, files in ((client, CLIENT_FILES), (simulator, SIMULATOR_FILES), (tools, TOOLS_FILES)):
            alone = unpack(package, Path(name) / package.name)
            require_equal(listing(files), listing(files_below(alone)), str(package))
            check_folders(alone)
            check_owners(package)
            unpack(package, folder)
        for program in ("spdm-client", "spdm-simulator", "spdm-report", "spdm-run"):
            page = folder / f"usr/share/man/man1/{program}.1.gz"
            check_manual(page, f"{program.upper()}(1)", field(client, "Version"))
        check_programs(folder / "usr")
        check_report(folder / "usr")
        check_run(folder / "usr")


if __name__ == "__main__":
    main()
