#!/usr/bin/env python3
"""Which devices' signals the monitor prints, and under which EID it knows them."""

from cases import (
    CPU,
    CPU_0,
    CPU_12,
    CPU_13,
    Device,
    HALC,
    NIC,
    NIC_20,
    OPERATIONS_MENU,
    added,
    added_text,
    changed,
    error_text,
    info_text,
    monitoring,
    progress_text,
    properties_text,
    removed_text,
    run_cases,
)

NIC_13 = Device(NIC + "/nic_13", 13, "NIC-13")
SOCKET = CPU + "/socket"
EMPTY = Device("", 0, "N/A")

NOT_SUBSCRIBED = "Error: sd_bus_match: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n"


def unsubscribed_text(word, path):
    """Of an announcement that fails at the subscription."""
    return f"Received Interface {word} Signal.\nObject Added :{path}\nsubscribing to signals\n"


def all_signals(path):
    return [f"error {path} 1", f"progress {path} 2", changed(path, {"Version": ["s", "3"]})]


def all_texts(eid, times=1):
    return (
        error_text(eid, 1) * times
        + progress_text(eid, 2) * times
        + properties_text(eid, "Version: 3\n") * times
    )


def expect_signals(client, device, text):
    """What the device's three signals print, and nothing else."""
    client.command(*all_signals(device.path), "info 9")
    client.expect(text + info_text(9))


def expect_table(client, *devices):
    """Ends the client by way of the device table."""
    client.reopen(0, *devices)


def expect_added_as(path, eid, xmid, word="CPU"):
    """An announced path's EID, in the lines of its signals and in the table."""
    device = Device(path, eid, xmid)
    with monitoring() as client:
        client.add(device, word)
        expect_signals(client, device, all_texts(eid))
        expect_table(client, *sorted([CPU_12, device], key=lambda known: known.eid))
        client.leave()


def expect_number_refused(path):
    with monitoring() as client:
        client.command(added(CPU, path), *all_signals(path), "info 1")
        client.expect("Received Interface CPU Signal.\n" + info_text(1))
        expect_table(client, CPU_12)
        client.leave("Error: stoi\n")


def test_added_twice_prints_twice():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13, times=2))
        expect_table(client, CPU_12, CPU_13)
        client.leave()


def test_added_three_times_prints_three_times():
    with monitoring() as client:
        for _ in range(3):
            client.add(NIC_20, "NIC")
        expect_signals(client, NIC_20, all_texts(20, times=3))
        client.finish()


def test_a_removal_ends_the_subscriptions():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        expect_signals(client, CPU_13, "")
        client.finish()


def test_a_removal_ends_both_subscriptions():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(CPU_13, "CPU")
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        expect_signals(client, CPU_13, "")
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        client.finish()


def test_a_removal_leaves_other_devices_subscriptions():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(NIC_20, "NIC")
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        expect_signals(client, NIC_20, all_texts(20))
        client.finish()


def test_signals_behind_a_removal_are_dropped():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.burst(f"remove {CPU_13.path}", *all_signals(CPU_13.path), "info 1")
        client.expect(removed_text(CPU_13.path) + info_text(1))
        client.finish()


def test_signals_name_no_device_whose_path_only_begins_alike():
    longer = Device(CPU_13.path + "0", 130, "CPU-130")
    with monitoring() as client:
        client.add(longer, "CPU")
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        expect_signals(client, longer, all_texts(130))
        client.finish()


def test_a_discovered_device_is_subscribed_to_when_announced():
    with monitoring() as client:
        client.add(CPU_12, "CPU")
        expect_signals(client, CPU_12, all_texts(12))
        expect_table(client, CPU_12)
        client.leave()


def test_the_eid_stops_at_the_first_other_character():
    expect_added_as(CPU + "/dev14a99", 14, "CPU-14")


def test_the_eid_begins_at_the_first_digit():
    expect_added_as(HALC + "/x007_8", 7, "HALC-7", word="HALC")


def test_the_eid_is_truncated_to_16_bits():
    expect_added_as(CPU + "/x70000", 4464, "CPU-70000")


def test_the_greatest_number():
    expect_added_as(CPU + "/x2147483647", 65535, "CPU-2147483647")


def test_a_number_truncated_to_zero():
    expect_added_as(NIC + "/x65536", 0, "NIC-65536", word="NIC")


def test_a_number_too_large():
    expect_number_refused(CPU + "/x2147483648")


def test_a_number_far_too_large():
    expect_number_refused(CPU + "/x" + "9" * 100)


def test_a_path_without_a_number_subscribes_to_eid_0():
    with monitoring(CPU_0, CPU_12) as client:
        client.command(added(CPU, SOCKET))
        client.expect(added_text("CPU", SOCKET))
        expect_signals(client, CPU_0, all_texts(0))
        client.command(*all_signals(SOCKET), "info 1")
        client.expect(info_text(1))
        expect_table(client, CPU_0, CPU_12)
        client.leave()


def test_a_number_before_the_last_element_does_not_count():
    with monitoring(CPU_0, CPU_12) as client:
        client.command(added(NIC, NIC + "/7/socket"))
        client.expect(added_text("NIC", NIC + "/7/socket"))
        expect_signals(client, CPU_0, all_texts(0))
        expect_table(client, CPU_0, CPU_12)
        client.leave()


def test_the_root_path_has_no_number():
    with monitoring(CPU_0, CPU_12) as client:
        client.command(added(HALC, "/"))
        client.expect(added_text("HALC", "/"))
        expect_signals(client, CPU_0, all_texts(0))
        expect_table(client, CPU_0, CPU_12)
        client.leave()


def test_a_path_without_a_number_and_without_eid_0():
    """The bus refuses the empty path; the empty entry stays."""
    with monitoring() as client:
        client.command(added(CPU, SOCKET), "info 1")
        client.expect(unsubscribed_text("CPU", SOCKET) + info_text(1))
        expect_table(client, EMPTY, CPU_12)
        client.type("1\n")
        client.expect(
            "ERROR: Re-authentication operation failed. Check device authentication status.\n"
            + OPERATIONS_MENU
        )
        client.leave(NOT_SUBSCRIBED)


def test_paths_without_a_number_share_the_empty_entry():
    with monitoring() as client:
        client.command(added(CPU, SOCKET), added(HALC, HALC + "/root"))
        client.expect(unsubscribed_text("CPU", SOCKET) + unsubscribed_text("HALC", HALC + "/root"))
        expect_table(client, EMPTY, CPU_12)
        client.leave(NOT_SUBSCRIBED * 2)


def test_signals_do_not_name_the_empty_entry():
    with monitoring() as client:
        client.command(added(CPU, SOCKET))
        client.expect(unsubscribed_text("CPU", SOCKET))
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        expect_table(client, EMPTY, CPU_12, CPU_13)
        client.leave(NOT_SUBSCRIBED)


def test_a_device_replaces_the_empty_entry():
    with monitoring() as client:
        client.command(added(CPU, SOCKET))
        client.expect(unsubscribed_text("CPU", SOCKET))
        client.add(CPU_0, "CPU")
        expect_signals(client, CPU_0, all_texts(0))
        expect_table(client, CPU_0, CPU_12)
        client.leave(NOT_SUBSCRIBED)


def test_removing_a_path_without_a_number_leaves_the_empty_entry():
    with monitoring() as client:
        client.command(f"add {SOCKET}")
        client.expect(unsubscribed_text("CPU", SOCKET))
        client.command(f"remove {SOCKET}")
        client.expect(removed_text(SOCKET))
        expect_table(client, EMPTY, CPU_12)
        client.leave(NOT_SUBSCRIBED)


def test_a_device_replaces_another_of_its_eid():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(NIC_13, "NIC")
        expect_signals(client, NIC_13, all_texts(13))
        expect_table(client, CPU_12, NIC_13)
        client.leave()


def test_a_device_replaces_a_discovered_one():
    with monitoring(CPU_13) as client:
        client.add(NIC_13, "NIC")
        expect_table(client, NIC_13)
        client.leave()


def test_a_replaced_devices_signals_name_no_eid():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(NIC_13, "NIC")
        expect_signals(client, CPU_13, all_texts(None))
        client.finish()


def test_removing_a_replaced_device_changes_nothing():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(NIC_13, "NIC")
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        expect_signals(client, CPU_13, all_texts(None))
        expect_signals(client, NIC_13, all_texts(13))
        expect_table(client, CPU_12, NIC_13)
        client.leave()


def test_subscriptions_of_an_earlier_start_are_silent():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        client.restart_monitor()
        expect_signals(client, CPU_13, "")
        client.finish()


def test_an_earlier_starts_device_added_again_prints_once():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(CPU_13, "CPU")
        expect_signals(client, CPU_13, all_texts(13))
        client.finish()


def test_a_removal_ends_the_subscriptions_of_both_starts():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(CPU_13, "CPU")
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        expect_signals(client, CPU_13, "")
        expect_table(client, CPU_12)
        client.leave()


run_cases(globals())
