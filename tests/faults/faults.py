"""The table: each fault, and of it a cell for each method that can meet it."""

from collections import namedtuple

from methods import METHODS, PATH, PROPERTIES, SERVICE, UNANSWERED, UNOPENED, Outcome

MIB = 1 << 20
LONG = "L" * MIB
HUGE = 24 * MIB

# The stand-in bus does `answers` with the call, and `given` with the one that the client makes before it. On a
# real bus (`real`) the simulator stands behind a bus daemon with `policy` and answers by `rules`; `before` is
# carried out before the call, `during` when the simulator has received it.
Cell = namedtuple(
    "Cell",
    "fault variant method outcome answers given real before during policy rules env",
    defaults=[None, None, False, None, None, "", None, {}],
)
Absent = namedtuple("Absent", "fault method reason")
Fault = namedtuple("Fault", "name title cells")


def method_name(method):
    return method.key.replace(" ", "-")


def cell_name(cell):
    name = f"{method_name(cell.method)}/{cell.fault.name}"
    return f"{name}/{cell.variant}" if cell.variant else name


# What the stand-in bus does with a call.


def reply(signature, values):
    return lambda connection, call: connection.reply(call, signature, values)


def error(name, text=None):
    def act(connection, call):
        connection.send(connection.compose_error(call, name, text))

    return act


def silence(connection, call):
    pass


def cut_connection(connection, call):
    connection.close()


def cut_reply(signature, values):
    def act(connection, call):
        message = connection.compose_reply(call, signature, values)
        connection.send(message[: len(message) - 1])
        connection.close()

    return act


def garbage(connection, call):
    connection.send(b"\0no message\n" * 100)


def reply_without_body(signature):
    return lambda connection, call: connection.send(connection.compose_bodiless(call, signature))


def bus_ends(connection, call):
    connection.bus.close()


def ends_behind(answer, **options):
    """The answer to the call before; then the bus ends."""

    def act(connection, call):
        connection.bus.close(connections=False, **options)
        answer(connection, call)
        connection.bus.close()

    return act


def refuses_behind(answer):
    def act(connection, call):
        connection.bus.refuses = True
        answer(connection, call)

    return act


# What befalls the real bus.


def service_ends(stage):
    stage.simulator.stop()


def bus_is_killed(stage):
    stage.bench.stop_bus()


def bus_leaves_its_socket(stage):
    stage.bench.daemon.child.kill()
    stage.bench.daemon.wait()


def bus_refuses_connections(stage):
    stage.bench.stop_bus()
    stage.bench.policy = '<deny user="*"/>'
    stage.bench.start_bus()


# The faults: from a method to its cells as (variant, outcome, and how), or to the reason why there are none.


def stand_in(act, **others):
    return {"answers": act, **others}


def control(method):
    return [("", method.good(), stand_in(reply(method.signature(), method.values())))]


def always_error(act):
    return lambda method: [("", method.failed(UNANSWERED), stand_in(act))]


# For a type, others that it could be taken for, with values.
OTHERS = {
    "u": [("q", 1), ("i", 1), ("s", "1")],
    "q": [("u", 1), ("n", 1), ("s", "1")],
    "s": [("o", "/a"), ("u", 1), ("ay", b"1")],
    "b": [("u", 1), ("y", 1), ("s", "true")],
}


def with_field(method, number, type_, value):
    fields = [(field.type, field.value) for field in method.fields]
    fields[number] = (type_, value)
    return stand_in(reply("".join(type_ for type_, _ in fields), [value for _, value in fields]))


def changed(method, number, value):
    """The outcome and the answer where one field has another value of its type."""
    values = method.values()
    values[number] = value
    return method.good(*values), with_field(method, number, method.fields[number].type, value)


def another_type(method):
    cells = []
    for number, field in enumerate(method.fields):
        for type_, value in OTHERS.get(field.type, []):
            cells.append((f"{field.name}-as-{type_}", method.failed(number), with_field(method, number, type_, value)))
        for other in field.others:
            outcome = method.failed(number) if other.fails else method.good()
            cells.append((other.name, outcome, with_field(method, number, other.type, other.value)))
    if method.key == "GetAll":
        cells += properties_of_another_type(method)
    return cells


# The first is a type that properties may have, the second one that they may not.
PROPERTY_OTHERS = {
    "u": [("q", 1), ("x", 1)],
    "q": [("u", 1), ("d", 1.5)],
    "s": [("u", 1), ("ay", b"1")],
    "b": [("u", 1), ("y", 1)],
}


def report_outcome(outcome, fails):
    return outcome._replace(words="stops there" if fails else "empty text")


def properties_of_another_type(method):
    cells = []
    for name, type_, _ in PROPERTIES:
        for other, value in PROPERTY_OTHERS[type_]:
            outcome, how = changed(method, 0, method.fields[0].value | {name: (other, value)})
            fails = not (type_ == "s" and other == "ay")
            cells.append((f"{name}-as-{other}", report_outcome(outcome, fails), how))
    return cells


def cut_short(method):
    cells = []
    for count in range(len(method.fields)):
        fields = method.fields[:count]
        answer = reply("".join(field.type for field in fields), [field.value for field in fields])
        variant = f"behind-{fields[-1].name}" if fields else "empty"
        cells.append((variant, method.failed(count), stand_in(answer)))
    if method.key == "GetAll":
        for name, type_, _ in PROPERTIES:
            kept = {key: value for key, value in method.fields[0].value.items() if key != name}
            outcome, how = changed(method, 0, kept)
            cells.append((f"without-{name}", report_outcome(outcome, type_ != "s"), how))
    return cells


def further_fields(method):
    answer = reply(method.signature() + "sa{sv}", [*method.values(), "more", {"a": ("q", 1)}])
    return [("", method.good(), stand_in(answer))]


def each_text(method, value):
    """A cell for each field that is a text, or a variant with one."""
    cells = []
    for number, field in enumerate(method.fields):
        if field.type == "s":
            cells.append((field.name, *changed(method, number, value)))
        elif field.type == "v" and field.value[0] == "s":
            cells.append((field.name, *changed(method, number, ("s", value))))
    return cells


NO_TEXT = "The reply is one number, or one bool."


def empty_values(method):
    if method.key == "GetMeasurement":
        return [("no-blocks", *changed(method, 2, []))]
    if method.key == "GetAll":
        outcome, how = changed(method, 0, {})
        return [("no-properties", report_outcome(outcome, True), how)]
    if method.key == "GetManagedObjects":
        nothing, how = changed(method, 0, {})
        bare = [(name, *changed(method, 0, {PATH: interfaces})) for name, interfaces in
                [("no-interfaces", {}), ("no-properties", {SERVICE: {}})]]
        return [("no-objects", nothing._replace(words="no devices"), how), *bare]
    return each_text(method, "") or NO_TEXT


def long_values(method):
    if method.key == "GetMeasurement":
        return [("data", *changed(method, 2, [(1, bytes(70_000), 2, 3)]))]
    if method.key == "GetAll":
        return [
            (name, *changed(method, 0, method.fields[0].value | {name: ("s", LONG)}))
            for name, type_, _ in PROPERTIES if type_ == "s"
        ] + [("name", *changed(method, 0, method.fields[0].value | {LONG: ("u", 1)}))]
    if method.key == "GetManagedObjects":
        # The bus library takes no path of 64 KiB or more.
        _, too_long = changed(method, 0, {f"/{LONG}/cpu_12": {SERVICE: {}}})
        return [
            ("path", *changed(method, 0, {f"/{'L' * 65_000}/cpu_12": {SERVICE: {}}})),
            ("path-too-long-for-the-library", method.failed(0), too_long),
            ("interface-and-property", *changed(method, 0, {PATH: {LONG: {LONG: ("s", LONG)}}})),
        ]
    return each_text(method, LONG) or NO_TEXT


def huge_reply(method):
    """In the field that can hold it, else behind the fields."""
    huge = "A" * HUGE
    values = {
        "GetCertificate": (1, huge),
        "GetMeasurement": (2, [(1, bytes(HUGE), 2, 3)]),
        "GetAll": (0, method.fields[0].value | {"Version": ("s", huge)} if method.key == "GetAll" else None),
        "Get XMID": (0, ("s", huge)),
        "GetManagedObjects": (0, {PATH: {SERVICE: {"XMID": ("s", huge)}}}),
    }
    if method.key in values:
        return [("", *changed(method, *values[method.key]))]
    if method.key == "GetSignedMeasurement":
        content = [0, huge, "SHA-512", "unknown", "1.2"]
        return [("", method.good(*content), stand_in(reply(method.signature(), content)))]
    return [("", method.good(), stand_in(reply(method.signature() + "s", [*method.values(), huge])))]


def without_body(method):
    return [("", method.failed(0), stand_in(reply_without_body(method.signature())))]


def connection_cut(method):
    return [("", method.failed(UNANSWERED), stand_in(cut_connection))]


def connection_cut_in_mid_reply(method):
    return [("", method.failed(UNANSWERED), stand_in(cut_reply(method.signature(), method.values())))]


def no_reply(method):
    return [("", method.failed(UNANSWERED), stand_in(silence, env={"SYSTEMD_BUS_TIMEOUT": "1s"}))]


def real(**how):
    return {"real": True, **how}


BEHIND_XMID = "Read right behind XMID, on the connection that is open by then."


def service_ends_in_mid_call(method):
    if method.key == "NameHasOwner":
        return "The bus daemon answers by itself."
    return [("", method.failed(UNANSWERED), real(during=service_ends, rules={"no_reply": True}))]


def service_gone(method):
    if method.key == "NameHasOwner":
        return [("", Outcome("not running", lambda: method.text(False)), real(before=service_ends))]
    if method.key == "Get DeviceEID":
        return BEHIND_XMID + " The service's going then is the error ServiceUnknown."
    return [("", method.failed(UNANSWERED), real(before=service_ends))]


def bus_ends_in_mid_call(method):
    if method.key == "NameHasOwner":
        # A real daemon cannot be killed between taking its own call and answering.
        return [("", method.failed(UNANSWERED), stand_in(bus_ends))]
    return [("", method.failed(UNANSWERED), real(during=bus_is_killed, rules={"no_reply": True}))]


def bus_gone(method):
    if method.key == "NameHasOwner":
        return [("", method.failed(UNOPENED), {"answers": silence, "given": ends_behind(UNKNOWN_OBJECT)})]
    if method.key == "Get DeviceEID":
        good = METHODS[6]
        answer = reply(good.signature(), good.values())
        return [("", method.failed(UNANSWERED), {"answers": silence, "given": ends_behind(answer)})]
    return [("", method.failed(UNOPENED), real(before=bus_is_killed))]


def bus_gone_but_for_its_socket(method):
    if method.key == "NameHasOwner":
        given = ends_behind(UNKNOWN_OBJECT, unlink=False)
        return [("", method.failed(UNOPENED), {"answers": silence, "given": given})]
    if method.key == "Get DeviceEID":
        return BEHIND_XMID
    return [("", method.failed(UNOPENED), real(before=bus_leaves_its_socket))]


def connection_refused(method):
    if method.key == "NameHasOwner":
        return [("", method.failed(UNANSWERED), {"answers": silence, "given": refuses_behind(UNKNOWN_OBJECT)})]
    if method.key == "Get DeviceEID":
        return BEHIND_XMID
    return [("", method.failed(UNANSWERED), real(before=bus_refuses_connections))]


def call_refused(method):
    if method.key == "Get DeviceEID":
        return "A bus policy cannot tell it from the call for XMID."
    policy = f'<deny send_interface="{method.interface}" send_member="{method.member}"/>'
    return [("", method.failed(UNANSWERED), real(policy=policy))]


STANDARD_ERROR = "org.freedesktop.DBus.Error."
SERVICE_UNKNOWN = error(STANDARD_ERROR + "ServiceUnknown", "The name was not provided by any .service files")
UNKNOWN_OBJECT = error(STANDARD_ERROR + "UnknownObject", "Unknown object.")
UNKNOWN_METHOD = error(STANDARD_ERROR + "UnknownMethod", "Unknown method.")
ACCESS_DENIED = error(STANDARD_ERROR + "AccessDenied", "Rejected.")
OWN_ERROR = "com.example.Odd.Failure"

FAULTS = [
    Fault("control", "none: a good reply", control),
    Fault("error-service-unknown", "error ServiceUnknown", always_error(SERVICE_UNKNOWN)),
    Fault("error-unknown-object", "error UnknownObject", always_error(UNKNOWN_OBJECT)),
    Fault("error-unknown-method", "error UnknownMethod", always_error(UNKNOWN_METHOD)),
    Fault("error-access-denied", "error AccessDenied", always_error(ACCESS_DENIED)),
    Fault("error-custom", "an error of the service's own", always_error(error(OWN_ERROR, "Out of tea."))),
    Fault("error-without-a-text", "an error without a text", always_error(error(OWN_ERROR))),
    Fault("error-with-a-long-text", "an error with 1 MiB of text", always_error(error(OWN_ERROR, LONG))),
    Fault("another-type", "a field of another type", another_type),
    Fault("cut-short", "fields left out", cut_short),
    Fault("further-fields", "further fields behind", further_fields),
    Fault("empty", "empty texts, arrays, maps", empty_values),
    Fault("long", "texts of 1 MiB, 70,000 bytes of data", long_values),
    Fault("huge", "a reply of 24 MiB", huge_reply),
    Fault("without-body", "a signature, but no fields", without_body),
    Fault("garbage", "bytes that are no message", always_error(garbage)),
    Fault("connection-cut", "connection cut, no reply", connection_cut),
    Fault("connection-cut-in-mid-reply", "connection cut in mid-reply", connection_cut_in_mid_reply),
    Fault("no-reply", "no reply in time", no_reply),
    Fault("service-ends-in-mid-call", "service killed in mid-call", service_ends_in_mid_call),
    Fault("service-gone", "service gone before the call", service_gone),
    Fault("bus-ends-in-mid-call", "bus daemon killed in mid-call", bus_ends_in_mid_call),
    Fault("bus-gone", "bus daemon gone before the call", bus_gone),
    Fault("bus-gone-but-for-its-socket", "the same, its socket left behind", bus_gone_but_for_its_socket),
    Fault("connection-refused", "bus refuses the connection", connection_refused),
    Fault("call-refused", "bus policy refuses the call", call_refused),
]


def cells_of(fault, method):
    """The cells where `method` meets `fault`, or one `Absent`."""
    made = fault.cells(method)
    if isinstance(made, str):
        return [Absent(fault, method, made)]
    return [Cell(fault, variant, method, outcome, **how) for variant, outcome, how in made]


def all_cells():
    return [cell for method in METHODS for fault in FAULTS for cell in cells_of(fault, method)]
