#!/usr/bin/env python3
"""Each line that the monitor prints is written by itself, and at once: no line waits for another."""

from cases import (
    CPU_12,
    CPU_13,
    HALC_30,
    NIC_20,
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


def expect_written(commands, *texts, known=()):
    """Compares what the commands make the client print, write by write, once it has subscribed to the
    CPUs `known`."""
    with monitoring(packets=True) as client:
        for device in known:
            client.add(device, "CPU")
        client.process.writes.clear()
        client.command(*commands)
        expected = "".join(texts)
        client.expect(expected)
        written = [write.text for write in client.process.writes]
        assert written == expected.splitlines(keepends=True), written
        client.finish()


def test_added():
    expect_written(
        [f"add {device.path}" for device in (CPU_13, HALC_30, NIC_20)],
        added_text("CPU", CPU_13.path),
        added_text("HALC", HALC_30.path),
        added_text("NIC", NIC_20.path),
    )


def test_removed():
    expect_written([f"remove {CPU_12.path}"], removed_text(CPU_12.path))


def test_info():
    expect_written(["info 3"], info_text(3))


def test_device_error():
    expect_written([f"error {CPU_13.path} 5"], error_text(13, 5), known=[CPU_13])


def test_certificate_progress():
    expect_written([f"progress {CPU_13.path} 40"], progress_text(13, 40), known=[CPU_13])


def test_properties_changed():
    properties = {
        "ChallengeStatus": ["u", 1],
        "DeviceEID": ["q", 13],
        "Measurement": ["b", True],
        "Preferred": ["b", False],
        "XMID": ["s", "CPU-13B"],
    }
    lines = (
        "ChallengeStatus: Passed\nDeviceEID: 13\nMeasurement: true\nPreferred: false\nXMID: CPU-13B\n"
    )
    expect_written(
        [changed(CPU_13.path, properties)], properties_text(13, lines), known=[CPU_13]
    )


def test_a_code_without_a_text_waits_for_the_end_of_its_line():
    properties = {"ChallengeStatus": ["u", 7], "XMID": ["s", "CPU-13B"], "Zone": ["u", 5]}
    lines = "ChallengeStatus: XMID: CPU-13B\nZone: "
    expect_written(
        [changed(CPU_13.path, properties)], properties_text(13, lines), known=[CPU_13]
    )


run_cases(globals())
