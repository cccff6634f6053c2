#!/usr/bin/env python3
"""What the monitor sends to the bus: its rules, to the byte, and the connections that carry them."""

from cases import (
    CPU,
    CPU_12,
    CPU_13,
    HALC_30,
    MONITOR_RULES,
    NIC_20,
    OPERATIONS_MENU,
    added_text,
    device_rules,
    info_text,
    monitoring,
    removed_text,
    run_cases,
    session,
)


def monitor_senders(calls):
    """The connections that subscribed to Info, in their order."""
    return [call.sender for call in calls if call.argument == MONITOR_RULES[-1] and call.member == "AddMatch"]


def calls_of(calls, sender):
    return [(call.member, call.argument) for call in calls if call.sender == sender]


def test_rules_of_a_start():
    with monitoring() as client:
        assert client.wire.rules("AddMatch") == MONITOR_RULES
        client.finish()


def test_rules_are_removed_in_reverse():
    with monitoring() as client:
        client.stop_monitor()
        client.wire.wait_for_rules("RemoveMatch", 7)
        client.leave()
        assert client.wire.rules("RemoveMatch") == MONITOR_RULES[::-1]


def test_the_monitors_connection_sends_nothing_else():
    with monitoring() as client:
        client.command("info 1", f"remove {CPU_12.path}")
        client.expect(info_text(1) + removed_text(CPU_12.path))
        client.stop_monitor()
        calls = client.wire.wait_for(lambda calls: calls[-1].argument == MONITOR_RULES[0], "the last rule")
        (sender,) = monitor_senders(calls)
        assert calls_of(calls, sender) == (
            [("Hello", "")]
            + [("AddMatch", rule) for rule in MONITOR_RULES]
            + [("RemoveMatch", rule) for rule in MONITOR_RULES[::-1]]
        )
        client.leave()


def test_the_monitor_has_a_connection_of_its_own():
    with session() as client:
        re_authenticate(client)
        client.start_monitor()
        client.stop_monitor()
        re_authenticate(client)
        calls = client.wire.wait_for(
            lambda calls: [call.member for call in calls].count("ReAuthenticate") == 2, "both calls"
        )
        callers = {call.sender for call in calls if call.member == "ReAuthenticate"}
        (sender,) = monitor_senders(calls)
        assert sender not in callers, f"{sender} is one of {callers}"
        client.leave()


def re_authenticate(client):
    client.type("1\n")
    client.expect("ReAuth Status: Passed Time taken(In us): <us>\n" + OPERATIONS_MENU)


def test_rules_of_an_added_device():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        calls = client.wire.wait_for(lambda calls: "PropertiesChanged" in calls[-1].argument, "its last rule")
        (sender,) = monitor_senders(calls)
        assert [argument for member, argument in calls_of(calls, sender)][8:] == [
            "type='signal',member='DeviceError',path='/com/varn/bmc/spdm/spdm/cpu/cpu_13',"
            "interface='com.varn.bmc.spdm.spdm',",
            "type='signal',member='CertificateProgress',path='/com/varn/bmc/spdm/spdm/cpu/cpu_13',"
            "interface='com.varn.bmc.spdm.spdm',",
            "type='signal',member='PropertiesChanged',path='/com/varn/bmc/spdm/spdm/cpu/cpu_13',"
            "interface='org.freedesktop.DBus.Properties',",
        ]
        client.finish()


def test_rules_of_several_added_devices():
    with monitoring() as client:
        client.add(NIC_20, "NIC")
        client.add(HALC_30, "HALC")
        assert client.wire.wait_for_rules("AddMatch", 13)[7:] == (
            device_rules(NIC_20.path) + device_rules(HALC_30.path)
        )
        client.finish()


def test_rules_of_a_removed_device():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(NIC_20, "NIC")
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        assert sorted(client.wire.wait_for_rules("RemoveMatch", 3)) == sorted(device_rules(CPU_13.path))
        client.finish()


def test_rules_of_a_device_added_twice():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(CPU_13, "CPU")
        assert client.wire.wait_for_rules("AddMatch", 13)[7:] == device_rules(CPU_13.path) * 2
        client.command(f"remove {CPU_13.path}")
        client.expect(removed_text(CPU_13.path))
        assert sorted(client.wire.wait_for_rules("RemoveMatch", 6)) == sorted(device_rules(CPU_13.path) * 2)
        client.finish()


def test_removing_a_discovered_device_sends_nothing():
    with monitoring() as client:
        client.command(f"remove {CPU_12.path}", "info 1")
        client.expect(removed_text(CPU_12.path) + info_text(1))
        client.stop_monitor()
        client.wire.wait_for_rules("RemoveMatch", 7)
        assert client.wire.rules("RemoveMatch") == MONITOR_RULES[::-1]
        client.leave()


def test_an_added_devices_rules_end_with_their_connection():
    """Nobody takes them back, neither the stop nor the device's removal by the next start."""
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        assert client.wire.rules("RemoveMatch") == MONITOR_RULES[::-1]
        client.remove(CPU_13)
        client.stop_monitor()
        assert client.wire.wait_for_rules("RemoveMatch", 14) == MONITOR_RULES[::-1] * 2
        client.leave()


def test_each_start_has_a_connection_and_rules_of_its_own():
    with session() as client:
        for _ in range(3):
            client.start_monitor()
            client.stop_monitor()
        client.wire.wait_for_rules("RemoveMatch", 21)
        calls = client.wire.calls()
        senders = monitor_senders(calls)
        assert len(set(senders)) == 3, senders
        for sender in senders:
            assert [argument for _, argument in calls_of(calls, sender)][1:8] == MONITOR_RULES
        client.leave()


def test_a_path_without_a_number_asks_for_an_empty_path():
    with monitoring() as client:
        client.command(f"add {CPU}/socket cpu")
        client.expect(added_text("CPU", CPU + "/socket").rpartition("Interface ")[0])
        client.command(f"add {CPU_13.path}")
        client.expect(added_text("CPU", CPU_13.path))
        assert client.wire.wait_for_rules("AddMatch", 11)[7:] == [
            "type='signal',member='DeviceError',path='',interface='com.varn.bmc.spdm.spdm',",
            *device_rules(CPU_13.path),
        ]
        client.finish("Error: sd_bus_match: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n")


run_cases(globals())
