#!/usr/bin/env python3
"""What the comprehensive suite writes, and when: each line at once, a prompt before the answer is read.
The devices: one without slots, one with slot 3, one whose properties can never be read.
Called as: FILE CLIENT SIMULATOR"""

from flushes_test import BANNER, RE_AUTHENTICATED, TOP_MENU
from writes import check_conversation

WITHOUT_SLOTS = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
WITH_SLOT = "/com/varn/bmc/spdm/spdm/cpu/cpu_13"
UNAVAILABLE = "/com/varn/bmc/spdm/spdm/nicController/nic_20"

MEASURED = ["qqa(qayuq)", 0, 0, []]
NOT_MEASURED = ["qqa(qayuq)", 9, 0, []]
UNREADABLE = {"error": ["org.freedesktop.DBus.Error.Failed", "no answer"]}

METHODS = {
    "ReAuthenticate": {"reply": ["u", 1]},
    "GetMeasurement": [
        *({"indices": [index], "reply": NOT_MEASURED} for index in (256, 300, 999)),
        # Slot 0: the one that is found unsupported on the device with a slot.
        *({"slot": slot, "indices": [1], "reply": NOT_MEASURED} for slot in (0, 8, 15, 255)),
        {"reply": MEASURED},
    ],
    "GetSignedMeasurement": {"reply": ["ussss", 0, "", "", "", ""]},
}


def device(path, xmid, eid, properties, methods):
    identity = {"XMID": ["s", xmid], "DeviceEID": ["q", eid]}
    return {
        "path": path,
        "preset": "bare",
        "properties": {**identity, **properties},
        "methods": {**METHODS, **methods},
    }


FLEET = {
    "devices": [
        device(
            WITHOUT_SLOTS,
            "CPU-12",
            12,
            {},
            {
                # Where no slot is supported, slot 0 is asked for: here it measures.
                "GetMeasurement": [
                    {"slot": 0, "indices": [1], "reply": MEASURED},
                    {"reply": NOT_MEASURED},
                ],
                # A run's tenth reading of the properties, the last one, is for the table.
                "GetAll": {"call": {"every": 10}, **UNREADABLE},
            },
        ),
        device(
            WITH_SLOT,
            "CPU-13",
            13,
            {
                "CertificateSlot3": ["b", True],
                "Measurement": ["b", True],
                "SignedMeasurement": ["b", False],
                "ChallengeStatus": ["u", 1],
                "DeviceDescription": ["s", "The second socket"],
            },
            {},
        ),
        device(UNAVAILABLE, "NIC-20", 20, {}, {"GetAll": UNREADABLE}),
    ]
}

# The writes, as they are expected.

TABLE = [
    "Index | EID  | XMID            | D-Bus Path\n",
    "------|------|-----------------|------------------------------------------\n",
    "    0 |   12 |          CPU-12 | /com/varn/bmc/spdm/spdm/cpu/cpu_12\n",
    "    1 |   13 |          CPU-13 | /com/varn/bmc/spdm/spdm/cpu/cpu_13\n",
    "    2 |   20 |          NIC-20 | /com/varn/bmc/spdm/spdm/nicController/nic_20\n",
]

DEVICE_SELECTION = [
    "Available SPDM objects:\n",
    "1: /com/varn/bmc/spdm/spdm/cpu/cpu_12\n",
    "2: /com/varn/bmc/spdm/spdm/cpu/cpu_13\n",
    "3: /com/varn/bmc/spdm/spdm/nicController/nic_20\n",
    # The empty line that ends the list is not flushed.
    "\n\nDiscovered SPDM Devices:\n",
    *TABLE,
    "    3 |  ALL | Run on all objects\n",
    "\nChoose the device index (0-3): \n",
]


def suite_menu(eid):
    return [
        f"Selected device: EID={eid}\n",
        "\n#################################################\n",
        "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n",
        "#################################################\n",
        "\nDevice Selection Options:\n",
        f"1. Run on current device (EID {eid})\n",
        "2. Select device by index from discovered devices\n",
        "3. Run on all discovered SPDM devices\n",
        "Enter choice (1-3): ",
    ]


def availability(path, *answer):
    return [
        "\n=== Checking SPDM Service Availability ===\n",
        f"ℹ INFO: Found device at path: {path}\n",
        *answer,
    ]


AVAILABLE = "✓ SUCCESS: SPDM service is running and device is responsive\n"

AVAILABILITY_OF_ONE_WITH_SLOT = availability(
    WITH_SLOT,
    AVAILABLE,
    "ℹ INFO: Device measurement support: YES\n",
    "ℹ INFO: Device signed measurement support: NO\n",
    "ℹ INFO: Device challenge status: 1\n",
)

AVAILABILITY_OF_UNAVAILABLE = availability(
    UNAVAILABLE,
    "✗ FAIL: SPDM service communication failed. Check if service is running.\n",
    "ERROR DETAILS: This typically means:\n",
    "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n",
    "  2. Device endpoint is not available or not initialized\n",
    "  3. D-Bus system bus communication issue\n",
    "? WARNING: SPDM service is running but device is not accessible\n",
)

ABORTED = [
    "\n✗ ABORTING: SPDM service or device not available - cannot run measurement tests\n",
    "#################################################\n",
    "#           MEASUREMENT TEST SUITE ABORTED       #\n",
    "#################################################\n",
]

NO_SLOTS = ["⚠ WARNING: No certificate slots found to be supported\n"]
ONE_SLOT = ["ℹ INFO: Slot 3 is supported\n", "ℹ INFO: Supported slots: 3\n"]
SLOT_HEADING = "\nTesting with supported slot 3:\n"


def measurement(path, status="0 (Success)"):
    code = status.split()[0]
    return [
        f"DEBUG: Calling D-Bus method on object: {path}\n",
        "DEBUG: Reading D-Bus reply...\n",
        f"DEBUG: Read status: {code}\n",
        "DEBUG: Read NumMeasurements: 0\n",
        "DEBUG: Read measurement data, size: 0\n",
        f"Get Measurement Status: {status} NumMeasurements: 0 Time taken (in us): <us>\n",
        *(["ℹ INFO: No measurement data returned\n"] if code == "0" else []),
    ]


def failing_measurement(path):
    return measurement(path, "9 (Get Measurement Failed)")


def single_index(index):
    return [
        f"\n=== Testing Single Measurement Index {index} ===\n",
        *measurement(WITH_SLOT),
        f"✓ PASS: Single measurement index {index} test passed\n",
    ]


def signed(indices, nonce, generated=""):
    """A signed test; `generated` is what announces its nonce."""
    return [
        *([f"ℹ INFO: Generated 32-byte nonce{generated} (256 bits)\n"] if generated else []),
        "\n=== Testing Signed Measurement with Nonce ===\n",
        f"Indices: {indices} Nonce: {nonce}\n",
        f"DEBUG: Calling D-Bus signed measurement method on object: {WITH_SLOT}\n",
        "DEBUG: Reading D-Bus signed measurement reply...\n",
        "DEBUG: Read status: 0\n",
        "DEBUG: Read signed measurement data, length: 0\n",
        "Get Signed Measurement Status: 0 (Success) Signed Measurements:  Hashing Algorithm:  "
        "Signing Algorithm:  Version:  Time taken(In us): <us>\n",
        "ℹ INFO: No signed measurement data returned\n",
        "✓ PASS: Signed measurement with nonce test passed\n",
    ]


def upper_case(indices):
    return signed(indices, "<NONCE>", ": <NONCE>")


def lower_case(indices):
    return signed(indices, "<nonce>", " (lowercase): <nonce>")


NORMAL_TITLE = "\n********** NORMAL MEASUREMENT TESTS **********\n"
SIGNED_TITLE = "\n********** SIGNED MEASUREMENT TESTS **********\n"
STRESS_TITLE = "\n********** MEASUREMENT STRESS TESTS **********\n"

NORMAL_TESTS = [
    NORMAL_TITLE,
    *ONE_SLOT,
    "\n=== Testing Single Measurements with Supported Slots ===\n",
    SLOT_HEADING,
    *single_index(1),
    SLOT_HEADING,
    *single_index(2),
    "\n=== Testing Multiple Measurements with Supported Slots ===\n",
    SLOT_HEADING,
    "\n=== Testing Multiple Measurement Indices ===\n",
    "Indices: 1 2 3 \n",
    *measurement(WITH_SLOT),
    "✓ PASS: Multiple measurements test passed\n",
    "\n=== Testing All Measurements with Supported Slots ===\n",
    SLOT_HEADING,
    "\n=== Testing All Measurements Retrieval (0xFF) ===\n",
    *measurement(WITH_SLOT),
    "✓ PASS: All measurements test passed\n",
    "\n=== NORMAL MEASUREMENT TEST SUMMARY ===\n",
    "Passed: 4/4 tests\n",
    "Success Rate: 100%\n",
]

SIGNED_TESTS = [
    SIGNED_TITLE,
    *ONE_SLOT,
    "\n=== Testing Basic Signed Measurements with Empty Nonce ===\n",
    SLOT_HEADING,
    *signed("1", ""),
    "\n=== Testing Signed Measurements with 32-byte Random Nonce (Uppercase Hex) ===\n",
    SLOT_HEADING,
    *upper_case("1"),
    "\n=== Testing Multiple Indices Signed Measurements with 32-byte Random Nonce (Lowercase Hex) ===\n",
    SLOT_HEADING,
    *lower_case("1 2 3"),
    "\n=== Testing All Signed Measurements with 32-byte Random Nonce ===\n",
    SLOT_HEADING,
    *upper_case("255"),
    "\n=== SIGNED MEASUREMENT TEST SUMMARY ===\n",
    "Passed: 4/4 tests\n",
    "Success Rate: 100%\n",
]


def invalid_index(path, index):
    return [
        f"\n=== Testing Invalid Measurement Index {index} ===\n",
        *failing_measurement(path),
        "✓ PASS: Invalid measurement index correctly failed\n",
    ]


def invalid_slot(path, slot):
    return [
        f"\n=== Testing Invalid Slot ID {slot} ===\n",
        *failing_measurement(path),
        "✓ PASS: Invalid slot ID correctly failed\n",
    ]


def failure_tests(path, slots, unsupported_slot, summary):
    return [
        "\n********** MEASUREMENT FAILURE TESTS **********\n",
        *slots,
        *slots,
        "ℹ INFO: Found unsupported slot for testing: 0\n",
        "\n=== Testing Invalid Measurement Indices ===\n",
        *invalid_index(path, 256),
        *invalid_index(path, 300),
        *invalid_index(path, 999),
        "\n=== Testing Invalid Slot IDs ===\n",
        "Testing with unsupported slot 0:\n",
        *unsupported_slot,
        *slots,
        "Testing with invalid slot 8:\n",
        *invalid_slot(path, 8),
        *slots,
        "Testing with invalid slot 15:\n",
        *invalid_slot(path, 15),
        *slots,
        "Testing with invalid slot 255:\n",
        *invalid_slot(path, 255),
        "\n=== MEASUREMENT FAILURE TEST SUMMARY ===\n",
        *summary,
    ]


STRESS_TESTS = [
    STRESS_TITLE,
    *ONE_SLOT,
    "\n=== Rapid Successive Measurements Test ===\n",
    *single_index(1) * 10,
    "\n=== Alternating Measurement Types Test ===\n",
    *[*single_index(1), *upper_case("1")] * 5,
    "\n=== Different Supported Slot Stress Test ===\n",
    *single_index(1),
    *single_index(2),
    *single_index(3),
    "\n=== MEASUREMENT STRESS TEST SUMMARY ===\n",
    "Passed: 23/23 tests\n",
    "Success Rate: 100%\n",
]

DOUBLE_RULE = "=" * 73 + "\n"
RULE = "-" * 73 + "\n"


def table(eid, xmid, description, *rows):
    *categories, overall = rows
    return [
        "\n" + DOUBLE_RULE,
        "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n",
        DOUBLE_RULE,
        "DEVICE INFORMATION:\n",
        f"• Device EID: {eid}\n",
        f"• XMID: {xmid}\n",
        f"• Description: {description}\n",
        RULE,
        "| Test Category                   |  Passed|   Total| Success %| Status     |\n",
        RULE,
        *categories,
        RULE,
        overall,
        DOUBLE_RULE,
    ]


def details(total, rate, verdict):
    return [
        "\nTest Execution Details:\n",
        "• Total Test Categories: 4\n",
        f"• Total Individual Tests: {total}\n",
        f"• Overall Success Rate: {rate}%\n",
        verdict,
    ]


def suite(eid, *body):
    return [
        "\n#################################################\n",
        "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n",
        f"#               DEVICE EID:  {eid}               #\n",
        "#################################################\n",
        "\n=== Pre-test Authentication ===\n",
        RE_AUTHENTICATED,
        "\n" + "*" * 60 + " EXECUTING TEST CATEGORIES " + "*" * 60 + "\n",
        *body,
        "\n#################################################\n",
        "#           MEASUREMENT TEST SUITE DONE         #\n",
        "#################################################\n",
    ]


RUN_WITHOUT_SLOTS = [
    *availability(WITHOUT_SLOTS, AVAILABLE),
    *suite(
        12,
        NORMAL_TITLE,
        *NO_SLOTS,
        "✗ ABORT: No supported slots found for measurement testing\n",
        SIGNED_TITLE,
        *NO_SLOTS,
        "✗ ABORT: No supported slots found for signed measurement testing\n",
        *failure_tests(
            WITHOUT_SLOTS,
            NO_SLOTS,
            [
                "\n=== Testing Invalid Slot ID 0 ===\n",
                *measurement(WITHOUT_SLOTS),
                "⚠ WARNING: Invalid slot ID unexpectedly passed\n",
            ],
            ["Expected Failures: 6/7 tests\n", "Proper Error Handling Rate: 85%\n"],
        ),
        STRESS_TITLE,
        *NO_SLOTS,
        "✗ ABORT: No supported slots found for stress testing\n",
        "WARNING: Failed to get device properties. Check service availability.\n",
        *table(
            12,
            "Not available",
            "Not available",
            "| Failure Tests (Expected)        |       6|       7|       85% | ⚠ WARN  |\n",
            "| Normal Measurements             |       0|       0|        0% | ✗ FAIL  |\n",
            "| Signed Measurements             |       0|       0|        0% | ✗ FAIL  |\n",
            "| Stress Tests                    |       0|       0|        0% | ✗ FAIL  |\n",
            "| OVERALL SUMMARY                 |       6|       7|       85% | ✗ NEEDS ATTENTION |\n",
        ),
        *details(7, 85, "⚠️  ATTENTION: Significant test failures detected.\n"),
    ),
]

RUN_WITH_SLOT = [
    *AVAILABILITY_OF_ONE_WITH_SLOT,
    *suite(
        13,
        *NORMAL_TESTS,
        *SIGNED_TESTS,
        *failure_tests(
            WITH_SLOT,
            ONE_SLOT,
            invalid_slot(WITH_SLOT, 0),
            ["Expected Failures: 7/7 tests\n", "Proper Error Handling Rate: 100%\n"],
        ),
        *STRESS_TESTS,
        *table(
            13,
            "CPU-13",
            "The second socket",
            "| Failure Tests (Expected)        |       7|       7|      100% | ✓ PASS  |\n",
            "| Normal Measurements             |       4|       4|      100% | ✓ PASS  |\n",
            "| Signed Measurements             |       4|       4|      100% | ✓ PASS  |\n",
            "| Stress Tests                    |      23|      23|      100% | ✓ PASS  |\n",
            "| OVERALL SUMMARY                 |      38|      38|      100% | ✓ ALL PASS |\n",
        ),
        *details(38, 100, "🎉 EXCELLENT: All tests passed successfully!\n"),
    ),
]


def one_of_all(number, eid):
    return [
        "\n" + "=" * 80 + "\n",
        f"DEVICE {number}/3: EID {eid}\n",
        "=" * 80 + "\n",
    ]


RUN_ON_ALL = [
    "\nWill run measurement test suite on all 3 devices\n",
    *one_of_all(1, 12),
    *RUN_WITHOUT_SLOTS,
    *one_of_all(2, 13),
    *RUN_WITH_SLOT,
    *one_of_all(3, 20),
    *AVAILABILITY_OF_UNAVAILABLE,
    "\n✗ SKIPPING: SPDM service or device not available\n",
]

INDEX_SELECTION = ["\nDiscovered SPDM Devices:\n", *TABLE, "\nEnter device index (0-2): "]

# Each answer with the writes that come before the next one is read; the banner comes unasked.
CONVERSATION = [
    (None, [*BANNER, TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("0", suite_menu(12)),
    ("1", [*RUN_WITHOUT_SLOTS, TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("1", suite_menu(13)),
    ("1", [*RUN_WITH_SLOT, TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("2", suite_menu(20)),
    ("1", [*AVAILABILITY_OF_UNAVAILABLE, *ABORTED, TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("1", suite_menu(13)),
    ("2", INDEX_SELECTION),
    ("0", ["Selected device: EID=12\n", *RUN_WITHOUT_SLOTS, TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("1", suite_menu(13)),
    ("2", INDEX_SELECTION),
    ("3", ["Invalid index selected!\n", TOP_MENU]),
    ("3", DEVICE_SELECTION),
    ("1", suite_menu(13)),
    ("3", ["\nDiscovered SPDM Devices:\n", *TABLE, *RUN_ON_ALL, TOP_MENU]),
    ("4", []),
]

if __name__ == "__main__":
    check_conversation(FLEET, CONVERSATION)
