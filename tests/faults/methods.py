"""The methods that the client calls: how its menus reach each, the good reply, and what it prints of a reply
and of none. The texts are typed here once more, so that a slip in the client's fails a cell."""

import base64
import sys
from collections import namedtuple
from pathlib import Path

TESTS = Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TESTS), str(TESTS / "monitor")]

from cases import BANNER, CPU_12, MAIN_MENU, NO_OBJECTS, OPERATIONS_MENU, device_table  # noqa: E402
from layouts import measurement_text, signed_measurement_text  # noqa: E402

PATH = CPU_12.path
# The device has another EID than its path says.
OWN_EID = 77
DEVICE = CPU_12._replace(eid=OWN_EID)
SERVICE = "com.varn.bmc.spdm.spdm"

# How far an exchange got that failed; a number counts the fields that could be read.
UNOPENED, UNANSWERED = "unopened", "unanswered"

# What the client makes of a reply: the words for it in the document, and a function that gives what it prints
# (some texts are long, and few are wanted at a time).
Outcome = namedtuple("Outcome", "words text")

Field = namedtuple("Field", "name type value others", defaults=[()])
# A field of a container type with something of another type in it.
Other = namedtuple("Other", "name type value fails", defaults=[True])

SLOT_PROMPT = "Please Enter Slot Number: "
INDEX_PROMPTS = (
    "Enter the indices of measurement block to fetch:\n"
    "Enter the next value (enter -1 to stop): "
)

NO_SUCH_ROW = "Invalid device index selected.\nPlease try again...\n"

BUS_ERROR_DETAILS = (
    "ERROR DETAILS: This typically means:\n"
    "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
    "  2. Device endpoint is not available or not initialized\n"
    "  3. D-Bus system bus communication issue\n"
)


class Method:
    """One method. The client's input is `lead`, up to the last prompt before the call, which is `ready`; then
    `step`, which makes the call and may be repeated; `back`, to the main menu; and what ends the client. In its
    output `opening` is what `lead` calls forth."""

    key = member = ""
    interface = SERVICE
    # The words for a failed exchange.
    failure = "error"
    reached = ""
    fields = []
    lead, ready, opening = "", MAIN_MENU, ""
    step, back, closing = "", "", ""
    # The key of the call right before, where no prompt stands between.
    before_it = None

    def good(self, *values):
        return Outcome("as good", lambda: self.text(*(values or self.values())))

    def failed(self, step):
        return Outcome(self.failure, lambda: self.failure_text(step))

    def signature(self):
        return "".join(field.type for field in self.fields)

    def values(self):
        return [field.value for field in self.fields]

    def failure_note(self):
        """What the document says of a failure: the first line of several."""
        return f"`{self.failure_text(UNOPENED).splitlines()[0]}`"

    def text(self, *values):
        raise NotImplementedError

    def failure_text(self, step):
        raise NotImplementedError

    def back_from(self, outcome):
        return self.back

    def step_text(self, outcome):
        raise NotImplementedError

    def transcript(self, outcome):
        """The client's whole output."""
        return BANNER + MAIN_MENU + self.opening + self.step_text(outcome) + self.closing


class Operation(Method):
    """An item of the operations menu."""

    lead = "2\n0\n"
    ready = OPERATIONS_MENU
    opening = device_table(DEVICE) + "Selected device: EID=12\n" + OPERATIONS_MENU
    back = "9\n"
    closing = MAIN_MENU
    prompts = ""

    def step_text(self, outcome):
        return self.prompts + outcome.text() + OPERATIONS_MENU


class ReAuthenticate(Operation):
    key = member = "ReAuthenticate"
    reached = "operations menu, item 1"
    fields = [Field("status", "u", 1)]
    step = "1\n"

    def text(self, status):
        assert status == 1
        return "ReAuth Status: Passed Time taken(In us): <us>\n"

    def failure_text(self, step):
        return "ERROR: Re-authentication operation failed. Check device authentication status.\n"


class GetCertificate(Operation):
    key = member = "GetCertificate"
    reached = "operations menu, item 2"
    fields = [Field("status", "q", 0), Field("path", "s", "/certificates/slot3.pem")]
    step = "2\n3\n"
    prompts = SLOT_PROMPT

    def text(self, status, path):
        assert status == 0
        return f"Certificate Status: Success Certificate Path: {path} Time taken(In us): <us>\n"

    def failure_text(self, step):
        return "ERROR: Certificate operation failed. Check device connectivity and slot availability.\n"


class GetCertificateProperties(Operation):
    key = member = "GetCertificateProperties"
    reached = "operations menu, item 3"
    fields = [Field("status", "u", 0)]
    step = "3\n3\n"
    prompts = SLOT_PROMPT

    def text(self, status):
        assert status == 0
        return "Certificate Status: Success Time taken(In us): <us>\n"

    def failure_text(self, step):
        return "ERROR: Certificate properties operation failed. Check slot availability.\n"


class GetMeasurement(Operation):
    key = member = "GetMeasurement"
    reached = "operations menu, item 6"
    fields = [
        Field("status", "q", 0),
        Field("count", "q", 2),
        Field(
            "blocks",
            "a(qayuq)",
            [(1, bytes(range(18)), 2, 3), (1, b"", 2, 3)],
            [
                Other("blocks-as-s", "s", "1"),
                Other("blocks-as-one-block", "(qayuq)", (1, b"\1", 2, 3)),
                Other("blocks-as-numbers", "aq", [1]),
                Other("index-as-u", "a(uayuq)", [(1, b"\1", 2, 3)]),
                Other("data-as-s", "a(qsuq)", [(1, "1", 2, 3)]),
                Other("data-as-aq", "a(qaquq)", [(1, [1], 2, 3)]),
                Other("algorithm-as-q", "a(qayqq)", [(1, b"\1", 2, 3)]),
                Other("type-as-u", "a(qayuu)", [(1, b"\1", 2, 3)]),
                Other("block-without-a-type", "a(qayu)", [(1, b"\1", 2)]),
                Other("block-with-a-field-more", "a(qayuqq)", [(1, b"\1", 2, 3, 4)]),
            ],
        ),
    ]
    step = "6\n3\n1\n-1\n"
    prompts = SLOT_PROMPT + INDEX_PROMPTS

    def text(self, status, count, blocks):
        assert status == 0
        return measurement_text(PATH, [data for _, data, _, _ in blocks], count)

    def failure_text(self, step):
        progress = [
            f"DEBUG: Calling D-Bus method on object: {PATH}\n",
            "DEBUG: Reading D-Bus reply...\n",
            "DEBUG: Read status: 0\n",
            "DEBUG: Read NumMeasurements: 2\n",
        ]
        lines = {UNOPENED: 0, UNANSWERED: 1, 0: 2, 1: 3, 2: 4}[step]
        return (
            "".join(progress[:lines])
            + "D-BUS ERROR: Measurement operation failed. Check service availability.\n"
            + BUS_ERROR_DETAILS
            + "  4. Device does not support measurement operations\n"
        )


class GetSignedMeasurement(Operation):
    key = member = "GetSignedMeasurement"
    reached = "operations menu, item 7"
    fields = [
        Field("status", "u", 0),
        Field("data", "s", base64.b64encode(bytes(range(150))).decode()),
        Field("hashing", "s", "SHA-512"),
        Field("signing", "s", "ED448"),
        Field("version", "s", "1.2"),
    ]
    step = "7\n3\n1\n-1\n"
    prompts = SLOT_PROMPT + INDEX_PROMPTS

    def text(self, status, *texts):
        assert status == 0
        return signed_measurement_text(PATH, *texts)

    def failure_text(self, step):
        progress = [
            f"DEBUG: Calling D-Bus signed measurement method on object: {PATH}\n",
            "DEBUG: Reading D-Bus signed measurement reply...\n",
            "DEBUG: Read status: 0\n",
        ]
        lines = {UNOPENED: 0, UNANSWERED: 1, 0: 2}.get(step, 3)
        return (
            "".join(progress[:lines])
            + "D-BUS ERROR: Signed measurement operation failed. Check service availability.\n"
            + BUS_ERROR_DETAILS
            + "  4. Device does not support signed measurement operations\n"
        )


# Name, type and value in the order of the report.
PROPERTIES = [
    ("ChallengeStatus", "u", 1),
    ("Version", "s", "1.1"),
    ("Certificate", "b", True),
    ("ChallengeAuthRespSupport", "b", False),
    ("Measurement", "b", True),
    ("Encryption", "b", False),
    ("SignedMeasurement", "b", True),
    ("DeviceEID", "q", OWN_EID),
    ("DeviceChallengeStatus", "b", True),
    ("DeviceCertStatus", "b", False),
    *((f"CertificateSlot{slot}", "b", slot < 2) for slot in range(8)),
    ("DeviceAllowed", "b", True),
    ("XMID", "s", "CPU-12"),
    ("PhyBinding", "q", 65535),
    ("Preferred", "b", False),
    ("MeasurementSpecification", "s", "DMTF"),
    ("MeasurementSummary", "s", "00ff"),
    ("MeasurementSummaryHashAlgorithm", "s", "SHA-384"),
    ("MeasurementSummaryType", "s", "all"),
    ("NumMeasurements", "q", 0),
]
ALL_PROPERTIES = {name: (type_, value) for name, type_, value in PROPERTIES}


def reads_as(type_):
    """The type as which the report reads a property: what is none of four types reads as an empty text."""
    return type_ if type_ in "suqb" else "s"


class GetAll(Operation):
    key = member = "GetAll"
    reached = "operations menu, item 4"
    interface = "org.freedesktop.DBus.Properties"
    fields = [
        Field(
            "properties",
            "a{sv}",
            ALL_PROPERTIES,
            [
                Other("properties-as-s", "s", "1"),
                Other("properties-as-texts", "as", ["1"]),
                Other("properties-as-a-map-of-texts", "a{ss}", {"Version": "1.1"}),
                Other("names-as-paths", "a{ov}", {"/Version": ("s", "1.1")}),
                Other("names-as-numbers", "a{uv}", {1: ("s", "1.1")}),
            ],
        )
    ]
    step = "4\n"

    def text(self, properties):
        """The report up to the first property that is not there or of another type, then the error."""
        lines = ["Time taken(In us): <us>\n"]
        for name, type_, _ in PROPERTIES:
            label = "" if name == "ChallengeStatus" else f"{name:36}: "
            actual_type, value = properties.get(name, ("s", ""))
            if reads_as(actual_type) != type_:
                return "".join(lines) + label + self.failure_text(0)
            if actual_type not in "suqb":
                value = ""
            words = {"ChallengeStatus": "ChallengeStatus                     : Passed"}
            shown = str(value).lower() if type_ == "b" else str(value)
            lines.append(words.get(name, label + shown) + "\n")
        return "".join(lines)

    def failure_text(self, step):
        return "ERROR: Failed to retrieve SPDM properties. Check device connectivity.\n"


class Get(Method):
    """A property for a row of the device table. The outcome's text is the device that the row shows."""

    failure = "`N/A`"
    reached = "main menu, items 2 and 3"
    member = "Get"
    interface = "org.freedesktop.DBus.Properties"
    step = "2\n-1\n"

    def __init__(self, name, type_, value):
        self.key = "Get " + name
        self.before_it = "Get XMID" if name == "DeviceEID" else None
        other = {"s": [("o", "/a"), ("u", 1), ("ay", b"1")], "q": [("u", OWN_EID), ("n", OWN_EID), ("s", "77")]}[type_]
        others = [Other(f"content-as-{wrong}", "v", (wrong, content)) for wrong, content in other]
        others += [Other("no-variant", type_, value), Other("variant-in-it", "v", ("v", (type_, value)))]
        self.fields = [Field(name, "v", (type_, value), others)]

    def text(self, value):
        return DEVICE._replace(**{"xmid": value[1]} if value[0] == "s" else {"eid": value[1]})

    def failure_text(self, step):
        return CPU_12._replace(xmid="N/A")

    def failure_note(self):
        return "the row shows `N/A`, and the EID of the path"

    def step_text(self, outcome):
        return device_table(outcome.text()) + NO_SUCH_ROW + MAIN_MENU


# Of every type that a device may have, and some that none has.
ODD_PROPERTIES = {
    "A": ("a{sv}", {"b": ("d", 0.5)}), "B": ("b", True), "C": ("(xay)", (1, b"1")), "D": ("d", 1.5),
    "E": ("as", ["a", "b"]), "G": ("g", "a{sv}"), "I": ("i", -1), "N": ("n", -1), "O": ("o", "/a"), "Q": ("q", 1),
    "S": ("s", "x"), "T": ("t", 1), "U": ("u", 1), "V": ("v", ("s", "in")), "X": ("x", -1), "Y": ("y", 1),
}


class GetManagedObjects(Method):
    """The start. The outcome's text is what discovery prints, and the devices that it found."""

    failure = "error, no devices"
    reached = "the start"
    key = member = "GetManagedObjects"
    interface = "org.freedesktop.DBus.ObjectManager"
    ready = ""
    fields = [
        Field(
            "objects",
            "a{oa{sa{sv}}}",
            {PATH: {SERVICE: ALL_PROPERTIES}},
            [
                Other("objects-as-s", "s", "1"),
                Other("objects-as-paths", "ao", [PATH]),
                Other("paths-as-texts", "a{sa{sa{sv}}}", {PATH: {}}),
                Other("interfaces-as-properties", "a{oa{sv}}", {PATH: {}}),
                Other("interface-names-as-paths", "a{oa{oa{sv}}}", {PATH: {"/a": {}}}),
                Other("properties-as-texts", "a{oa{sa{ss}}}", {PATH: {SERVICE: {"XMID": "a"}}}),
                Other("values-of-any-type", "a{oa{sa{sv}}}", {PATH: {SERVICE: ODD_PROPERTIES}}, fails=False),
            ],
        )
    ]
    step = "2\n"

    def text(self, objects):
        return "", [DEVICE._replace(path=path) for path in objects]

    def failure_text(self, step):
        return "ERROR: Failed to retrieve SPDM objects. Check D-Bus service availability.\n", []

    def failure_note(self):
        return f"`{self.failure_text(UNOPENED)[0].strip()}`; items 2 and 3 say `No objects found`"

    def back_from(self, outcome):
        return "-1\n" if outcome.text()[1] else ""

    def transcript(self, outcome):
        text, devices = outcome.text()
        selection = NO_OBJECTS
        if devices:
            selection = device_table(*devices) + NO_SUCH_ROW
        return BANNER + text + MAIN_MENU + selection + MAIN_MENU


RULE = "#" * 49 + "\n"
SUITE_SELECTION = (
    "Selected device: EID=12\n\n" + RULE + "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n" + RULE
    + "\nDevice Selection Options:\n1. Run on current device (EID 12)\n"
    "2. Select device by index from discovered devices\n3. Run on all discovered SPDM devices\n"
    "Enter choice (1-3): \n"
)


class NameHasOwner(Method):
    """What the suite asks the bus daemon when a device does not answer."""

    failure = "unknown"
    reached = "main menu, item 3"
    key = member = "NameHasOwner"
    interface = "org.freedesktop.DBus"
    fields = [Field("owned", "b", True)]
    lead = "3\n0\n"
    ready = "Enter choice (1-3): "
    opening = device_table(DEVICE) + SUITE_SELECTION
    step = "1\n"
    before_it = "GetAll"

    def text(self, owned):
        if owned:
            return "? WARNING: SPDM service is running but device is not accessible\n"
        return "✗ CONFIRMED: SPDM service is not running on D-Bus\n"

    def failure_text(self, step):
        return "? WARNING: Could not check SPDM service status\n"

    def step_text(self, outcome):
        return (
            "=== Checking SPDM Service Availability ===\n"
            f"ℹ INFO: Found device at path: {PATH}\n"
            "✗ FAIL: SPDM service communication failed. Check if service is running.\n"
            + BUS_ERROR_DETAILS + outcome.text()
            + "\n✗ ABORTING: SPDM service or device not available - cannot run measurement tests\n"
            + RULE + "#           MEASUREMENT TEST SUITE ABORTED       #\n" + RULE + MAIN_MENU
        )


METHODS = [
    ReAuthenticate(),
    GetCertificate(),
    GetCertificateProperties(),
    GetMeasurement(),
    GetSignedMeasurement(),
    GetAll(),
    Get("XMID", "s", "CPU-12"),
    Get("DeviceEID", "q", OWN_EID),
    GetManagedObjects(),
    NameHasOwner(),
]
