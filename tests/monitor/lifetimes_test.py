#!/usr/bin/env python3
"""Subscriptions that outlive the monitor's thread and its connection, in every order of their ends.
Meant above all for runs under valgrind and the sanitizers; see valgrind.supp, lsan.supp and tsan.supp."""

import os
import resource

from cases import (
    CPU_12,
    CPU_13,
    HALC_30,
    NIC_20,
    error_text,
    monitoring,
    run_cases,
)

# Larger than what the C library keeps of ended threads' stacks: their memory is gone at once.
resource.setrlimit(resource.RLIMIT_STACK, (64 << 20, resource.getrlimit(resource.RLIMIT_STACK)[1]))


def test_added_and_kept():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.finish()


def test_added_and_removed():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.remove(CPU_13)
        client.finish()


def test_added_and_removed_by_the_next_start():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.remove(CPU_13)
        client.finish()


def test_added_and_removed_two_starts_later():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.restart_monitor()
        client.remove(CPU_13)
        client.finish()


def test_added_by_each_of_two_starts_and_kept():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(CPU_13, "CPU")
        client.finish()


def test_added_by_each_of_two_starts_and_removed():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(CPU_13, "CPU")
        client.remove(CPU_13)
        client.finish()


def test_removed_by_the_next_start_which_adds_another():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(NIC_20, "NIC")
        client.remove(CPU_13)
        client.command(f"error {NIC_20.path} 1")
        client.expect(error_text(20, 1))
        client.restart_monitor()
        client.remove(NIC_20)
        client.finish()


def test_a_device_added_by_each_of_three_starts():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(NIC_20, "NIC")
        client.restart_monitor()
        client.add(HALC_30, "HALC")
        client.finish()


def descriptors(client):
    return len(os.listdir(f"/proc/{client.process.pid}/fd"))


def test_a_stop_leaves_no_descriptor():
    with monitoring() as client:
        client.stop_monitor()
        before = descriptors(client)
        for _ in range(100):
            client.start_monitor()
            client.add(CPU_13, "CPU")
            client.stop_monitor()
            assert descriptors(client) == before
        client.leave()


def test_operations_between_the_starts():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.reopen(0, CPU_12, CPU_13)
        client.start_monitor()
        client.remove(CPU_13)
        client.reopen(0, CPU_12)
        client.leave()


def test_removed_after_the_bus_of_its_subscription_has_died():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.bench.stop_bus()
        client.process.wait_for("Something went wrong :")
        client.process.wait_for("\n")
        client.process.seen = ""
        client.stop_monitor()
        client.bench.start_bus()
        client.start_service(CPU_12, CPU_13)
        client.start_monitor()
        client.remove(CPU_13)
        client.finish()


run_cases(globals())
