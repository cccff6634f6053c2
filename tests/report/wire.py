"""The rows of spdm-report beside the calls that the service logged."""

import json

# A log also holds these, which print nothing of their own.
UNPRINTED = ("GetManagedObjects", "Get")


def logged(log):
    """(member, path, arguments) of each call that has a row."""
    calls = []
    for line in log.splitlines():
        member, _, path, signature, *arguments = line.split(" ", 4)
        if member not in UNPRINTED:
            calls.append((member, path, (signature, *arguments)))
    return calls


def told(row):
    """What a row says of its call's arguments, as `logged` has them; None where it does not know."""
    slot, indices, nonce = row["slot"], row["indices"], row["nonce"]
    indices = None if indices is None else json.dumps(indices, separators=(",", ":"))
    member = row["operation"]
    if member == "ReAuthenticate":
        return ("-",)
    if member == "GetAll":
        return ("s", '"com.varn.bmc.spdm.spdm"')
    if member in ("GetCertificate", "GetCertificateProperties"):
        return None if slot is None else ("q" if member == "GetCertificate" else "u", str(slot))
    if None in (slot, indices):
        return None
    if member == "GetMeasurement":
        return ("qaq", f"{slot} {indices}")
    return None if nonce is None else ("aqqs", f'{indices} {slot} "{nonce}"')


def rows_of_calls(rows):
    """Call rows, and for each availability check that asked the device the GetAll that it made."""
    for row in rows:
        if row["kind"] == "call":
            yield row
        elif row["kind"] == "availability" and row["answer"] != "not-found":
            yield row | {"operation": "GetAll", "slot": None, "indices": None, "nonce": None,
                         "outcome": "answered" if row["answer"] == "responsive" else "error"}


def compare(rows, log):
    """Sets each row beside the next logged call of its member and object. Returns the members of the logged
    calls that no row tells of, and the (member, outcome) of rows whose call never reached the service."""
    calls = logged(log)
    unseen, unsent, place = [], [], 0
    for row in rows_of_calls(rows):
        key = (row["operation"], row["path"])
        found = next((i for i in range(place, len(calls)) if calls[i][:2] == key), None)
        if found is None:
            unsent.append((row["operation"], row["outcome"]))
            continue
        unseen += [member for member, _, _ in calls[place:found]]
        place = found + 1
        arguments = told(row)
        assert arguments is None or arguments == calls[found][2], f"line {row['line']}: {arguments}, not {calls[found]}"
    return unseen + [member for member, _, _ in calls[place:]], unsent
