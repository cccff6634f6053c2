#!/usr/bin/env python3
"""What the client writes, and when: each line at once, a prompt before the answer is read.
Called as: FILE CLIENT SIMULATOR"""

from writes import check_conversation

NIC = "/com/varn/bmc/spdm/spdm/nicController/nic_7"
CPU = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"

BLOCK = list(range(0x20, 0x31))  # 17 bytes: a dump of two lines

# Base64 of the 81 bytes 00 to 50: by ED25519 a measurement of 17 and a signature of 64.
SIGNED = (
    "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BB"
    "QkNERUZHSElKS0xNTk9Q"
)

METHODS = {
    "ReAuthenticate": {"reply": ["u", 1]},
    "GetCertificate": {"reply": ["qs", 0, "/tmp/chain.pem"]},
    "GetCertificateProperties": {"reply": ["u", 1]},
    "GetMeasurement": {"reply": ["qqa(qayuq)", 0, 1, [[3, BLOCK, 4, 1]]]},
    "GetSignedMeasurement": {"reply": ["ussss", 0, SIGNED, "SHA-512", "ED25519", "1.2"]},
}

BOOLS = """Certificate ChallengeAuthRespSupport Measurement SignedMeasurement DeviceChallengeStatus
    DeviceCertStatus CertificateSlot0 CertificateSlot1 CertificateSlot2 CertificateSlot3 CertificateSlot4
    CertificateSlot5 CertificateSlot6 CertificateSlot7 DeviceAllowed Preferred""".split()

PROPERTIES = {
    "ChallengeStatus": ["u", 1],
    "Version": ["s", "1.2"],
    "Encryption": ["b", False],
    "PhyBinding": ["q", 3],
    "MeasurementSpecification": ["s", "DMTF"],
    "MeasurementSummary": ["s", "5f3a"],
    "MeasurementSummaryHashAlgorithm": ["s", "SHA-384"],
    "MeasurementSummaryType": ["s", "TCB"],
    "NumMeasurements": ["q", 5],
    **{name: ["b", True] for name in BOOLS},
}


def device(path, xmid, eid):
    properties = {**PROPERTIES, "XMID": ["s", xmid], "DeviceEID": ["q", eid]}
    return {"path": path, "preset": "bare", "properties": properties, "methods": METHODS}


FLEET = {"devices": [device(CPU, "CPU-12", 12), device(NIC, "NIC-7", 7)]}

# The writes, as they are expected.

BANNER = [
    "SPDM Client Start\n",
    "Initialization successful\n",
    "Available SPDM Supported Devices.\n",
]

TOP_MENU = (
    "1: Regression Test\n2: Normal Test\n3: Measurement Test Suite\n4: Exit \nPlease Choose the option:\n"
)

DEVICE_SELECTION = [
    "Available SPDM objects:\n",
    "1: /com/varn/bmc/spdm/spdm/nicController/nic_7\n",
    "2: /com/varn/bmc/spdm/spdm/cpu/cpu_12\n",
    # The empty line that ends the list is not flushed.
    "\n\nDiscovered SPDM Devices:\n",
    "Index | EID  | XMID            | D-Bus Path\n",
    "------|------|-----------------|------------------------------------------\n",
    "    0 |    7 |           NIC-7 | /com/varn/bmc/spdm/spdm/nicController/nic_7\n",
    "    1 |   12 |          CPU-12 | /com/varn/bmc/spdm/spdm/cpu/cpu_12\n",
    "    2 |  ALL | Run on all objects\n",
    "\nChoose the device index (0-2): \n",
]

OPERATIONS_MENU = (
    "1: ReAuthenticate\n2: GetCertficate\n3: GetCertificateProperties\n4: GetAll Properties\n"
    "5: Recurring ReAuthenticate\n6: GetMeasurement \n7: GetSignedMeasurement \n8: Monitor Signals\n"
    "9: Go Back \nPlease Choose the option:\n"
)

SLOT_PROMPT = "Please Enter Slot Number: "
INDICES_HEAD = "Enter the indices of measurement block to fetch:\n"
NEXT_INDEX_PROMPT = "Enter the next value (enter -1 to stop): "

RE_AUTHENTICATED = "ReAuth Status: Passed Time taken(In us): <us>\n"

CERTIFICATE = "Certificate Status: Success Certificate Path: /tmp/chain.pem Time taken(In us): <us>\n"

CERTIFICATE_PROPERTIES = "Certificate Status: Failed Time taken(In us): <us>\n"

PROPERTY_REPORT = [
    "Time taken(In us): <us>\n",
    "ChallengeStatus                     : Passed\n",
    "Version                             : 1.2\n",
    "Certificate                         : true\n",
    "ChallengeAuthRespSupport            : true\n",
    "Measurement                         : true\n",
    "Encryption                          : false\n",
    "SignedMeasurement                   : true\n",
    "DeviceEID                           : 12\n",
    "DeviceChallengeStatus               : true\n",
    "DeviceCertStatus                    : true\n",
    "CertificateSlot0                    : true\n",
    "CertificateSlot1                    : true\n",
    "CertificateSlot2                    : true\n",
    "CertificateSlot3                    : true\n",
    "CertificateSlot4                    : true\n",
    "CertificateSlot5                    : true\n",
    "CertificateSlot6                    : true\n",
    "CertificateSlot7                    : true\n",
    "DeviceAllowed                       : true\n",
    "XMID                                : CPU-12\n",
    "PhyBinding                          : 3\n",
    "Preferred                           : true\n",
    "MeasurementSpecification            : DMTF\n",
    "MeasurementSummary                  : 5f3a\n",
    "MeasurementSummaryHashAlgorithm     : SHA-384\n",
    "MeasurementSummaryType              : TCB\n",
    "NumMeasurements                     : 5\n",
]


def measurement(path):
    return [
        f"DEBUG: Calling D-Bus method on object: {path}\n",
        "DEBUG: Reading D-Bus reply...\n",
        "DEBUG: Read status: 0\n",
        "DEBUG: Read NumMeasurements: 1\n",
        "DEBUG: Read measurement data, size: 1\n",
        "Get Measurement Status: 0 (Success) NumMeasurements: 1 Time taken (in us): <us>\n",
        "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n",
        "============================================================\n",
        "\n📋 MEASUREMENT BLOCK 1\n",
        "----------------------------------------\n",
        "Index:         3\n",
        "Algorithm:     4\n",
        "Type:          1\n",
        "Data Size:     17 bytes\n",
        "Data (Hex):\n",
        "  0000: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n",
        "  0010: 30 \n",
        "\n",
    ]


def signed_measurement(path):
    return [
        f"DEBUG: Calling D-Bus signed measurement method on object: {path}\n",
        "DEBUG: Reading D-Bus signed measurement reply...\n",
        "DEBUG: Read status: 0\n",
        "DEBUG: Read signed measurement data, length: 108\n",
        f"Get Signed Measurement Status: 0 (Success) Signed Measurements: {SIGNED} Hashing Algorithm: SHA-512 "
        "Signing Algorithm: ED25519 Version: 1.2 Time taken(In us): <us>\n",
        "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n",
        "✅ VALIDATION: Signed measurement structure appears valid\n",
        "   • Total size: 81 bytes\n",
        "   • Expected signature size: 64 bytes\n",
        "   • Estimated measurement data: 17 bytes\n",
        "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n",
        "============================================================\n",
        "Hashing Algorithm: SHA-512\n",
        "Signing Algorithm: ED25519\n",
        "Total Data Size:   108 bytes\n",
        "Signed Data (Base64 - Received):\n",
        f"  {SIGNED}\n",
        "Decoded Size: 81 bytes\n",
        "\n📄 COMPLETE DECODED OUTPUT:\n",
        "----------------------------------------\n",
        "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n",
        "  0010: 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f \n",
        "  0020: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n",
        "  0030: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n",
        "  0040: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n",
        "  0050: 50 \n",
        "\nACTUAL MEASUREMENT DATA SECTION:\n",
        "----------------------------------------\n",
        "Measurement Size: 17 bytes\n",
        "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n",
        "  0010: 10 \n",
        "\n🔐 SIGNATURE DATA SECTION:\n",
        "----------------------------------------\n",
        "Signature Size: 64 bytes\n",
        "Signature (Hex):\n",
        # Laid out on the positions in the whole, of which the first is 17.
        "11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f \n",
        "  000f: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n",
        "  001f: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n",
        "  002f: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n",
        "  003f: 50 \n",
        "\n",
    ]


def regression(path):
    return [
        f"Starting Regression for object{path}\n",
        RE_AUTHENTICATED,
        CERTIFICATE,
        CERTIFICATE_PROPERTIES,
        *measurement(path),
        *signed_measurement(path),
        "........................................................................................\n",
        "\n",
    ]


# Each answer with the writes that come before the next one is read; the banner comes unasked.
CONVERSATION = [
    (None, [*BANNER, TOP_MENU]),
    ("2", DEVICE_SELECTION),
    ("1", ["Selected device: EID=12\n", OPERATIONS_MENU]),
    ("1", [RE_AUTHENTICATED, OPERATIONS_MENU]),
    ("2", [SLOT_PROMPT]),
    ("0", [CERTIFICATE, OPERATIONS_MENU]),
    ("3", [SLOT_PROMPT]),
    ("0", [CERTIFICATE_PROPERTIES, OPERATIONS_MENU]),
    ("4", [*PROPERTY_REPORT, OPERATIONS_MENU]),
    ("6", [SLOT_PROMPT]),
    ("0", [INDICES_HEAD]),
    ("3", [NEXT_INDEX_PROMPT]),
    ("-1", [*measurement(CPU), OPERATIONS_MENU]),
    ("7", [SLOT_PROMPT]),
    ("0", [INDICES_HEAD]),
    ("1", [NEXT_INDEX_PROMPT]),
    ("3", [NEXT_INDEX_PROMPT]),
    ("-1", [*signed_measurement(CPU), OPERATIONS_MENU]),
    ("10", ["Invalid method.\nPlease try again...\n", OPERATIONS_MENU]),
    ("9", [TOP_MENU]),
    # The line end behind the run is not flushed.
    ("1", [*regression(NIC), *regression(CPU), "\n" + TOP_MENU]),
    ("2", DEVICE_SELECTION),
    ("3", ["Invalid device index selected.\nPlease try again...\n", TOP_MENU]),
    ("4", []),
]


if __name__ == "__main__":
    check_conversation(FLEET, CONVERSATION)
