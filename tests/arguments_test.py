#!/usr/bin/env python3
"""The client takes no arguments: those that it is given change nothing. Called as: FILE CLIENT SIMULATOR"""

import sys

from harness import Bench, mask

FLEET = {"devices": [{"path": "/com/varn/bmc/spdm/spdm/cpu/cpu_12"}]}


def run(*arguments):
    with Bench(*sys.argv[1:]) as bench:
        bench.start_simulator(FLEET)
        client = bench.start([bench.client_program, *arguments])
        client.write("2\n0\n1\n9\n4\n")
        client.close_input()
        output = mask(client.read_to_end())
        return output, client.stderr(), client.wait(), bench.calls()


def main():
    expected = run()
    assert expected[0].startswith("SPDM Client Start\n") and expected[1:3] == ("", 0), expected
    for arguments in (["--help"], ["--version"], ["/com/varn/bmc/spdm/spdm/cpu/cpu_12"], ["-v", "4", ""]):
        actual = run(*arguments)
        assert actual == expected, (arguments, actual)


main()
