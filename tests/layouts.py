"""Texts that the client prints, and its layout of measurements, written independently of its source."""

import base64

BANNER = """\
SPDM Client Start
Initialization successful
Available SPDM Supported Devices.
"""

MAIN_MENU = """\
1: Regression Test
2: Normal Test
3: Measurement Test Suite
4: Exit\x20
Please Choose the option:
"""

OPERATIONS_MENU = """\
1: ReAuthenticate
2: GetCertficate
3: GetCertificateProperties
4: GetAll Properties
5: Recurring ReAuthenticate
6: GetMeasurement\x20
7: GetSignedMeasurement\x20
8: Monitor Signals
9: Go Back\x20
Please Choose the option:
"""

SIGNATURE_SIZES = {"ED448": 114}


def dump(data, position=0):
    """Lines end on the positions of the whole; offsets count from the start of `data`."""
    first = -position % 16
    lines = [data[:first].hex(" ")] if first else []
    lines += [f"  {i:04x}: {data[i:i + 16].hex(' ')}" for i in range(first, len(data), 16)]
    return "".join(line + " \n" for line in lines)


def measurement_text(path, blocks, count=1):
    """For status 0 and blocks of index 1, algorithm 2 and type 3."""
    text = (
        f"DEBUG: Calling D-Bus method on object: {path}\nDEBUG: Reading D-Bus reply...\nDEBUG: Read status: 0\n"
        f"DEBUG: Read NumMeasurements: {count}\nDEBUG: Read measurement data, size: {len(blocks)}\n"
        f"Get Measurement Status: 0 (Success) NumMeasurements: {count} Time taken (in us): <us>\n"
    )
    if not blocks:
        return text + "ℹ INFO: No measurement data returned\n"
    text += "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + "=" * 60 + "\n"
    return text + "".join(block_text(number, data) for number, data in enumerate(blocks, 1))


def block_text(number, data):
    return (
        f"\n📋 MEASUREMENT BLOCK {number}\n" + "-" * 40 + "\nIndex:         1\nAlgorithm:     2\nType:          3\n"
        f"Data Size:     {len(data)} bytes\nData (Hex):\n{dump(data)}\n"
    )


def signed_measurement_text(path, text, hashing="SHA-512", signing="ED448", version="1.2"):
    """For status 0, and a text of Base64 without padding."""
    head = (
        f"DEBUG: Calling D-Bus signed measurement method on object: {path}\n"
        "DEBUG: Reading D-Bus signed measurement reply...\nDEBUG: Read status: 0\n"
        f"DEBUG: Read signed measurement data, length: {len(text)}\n"
        f"Get Signed Measurement Status: 0 (Success) Signed Measurements: {text} Hashing Algorithm: {hashing} "
        f"Signing Algorithm: {signing} Version: {version} Time taken(In us): <us>\n"
    )
    if not text:
        return head + "ℹ INFO: No signed measurement data returned\n"
    head += "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n"
    data = base64.b64decode(text[: len(text) // 4 * 4])
    signature = SIGNATURE_SIZES.get(signing, 0)
    if not signature:
        return head + f"⚠️  VALIDATION: Unknown signing algorithm: {signing}\n" + invalid_text(text)
    if len(data) < signature:
        return (
            head + f"⚠️  VALIDATION: Data size ({len(data)} bytes) smaller than expected signature size "
            f"({signature} bytes)\n" + invalid_text(text)
        )
    return head + analysis_text(text, data, signature, hashing, signing)


def invalid_text(text):
    return (
        "❌ VALIDATION FAILED: Signed measurement structure is invalid\n⚠️  WARNING: This may indicate:\n"
        "   • Device did not include signature in last measurement\n   • Signature algorithm mismatch\n"
        "   • Data corruption or truncation\n   • Device firmware issue\n"
        f"\nRaw data (first 80 chars): {text[:80]}{'...' if len(text) > 80 else ''}\n"
    )


def analysis_text(text, data, signature, hashing, signing):
    size = len(data) - signature
    rule = "-" * 40 + "\n"
    return (
        "✅ VALIDATION: Signed measurement structure appears valid\n"
        f"   • Total size: {len(data)} bytes\n   • Expected signature size: {signature} bytes\n"
        f"   • Estimated measurement data: {size} bytes\n"
        "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + "=" * 60 + "\n"
        f"Hashing Algorithm: {hashing or 'N/A'}\nSigning Algorithm: {signing}\nTotal Data Size:   {len(text)} bytes\n"
        f"Signed Data (Base64 - Received):\n  {text}\nDecoded Size: {len(data)} bytes\n"
        f"\n📄 COMPLETE DECODED OUTPUT:\n{rule}{dump(data)}"
        f"\nACTUAL MEASUREMENT DATA SECTION:\n{rule}Measurement Size: {size} bytes\n{dump(data[:size])}"
        f"\n🔐 SIGNATURE DATA SECTION:\n{rule}Signature Size: {signature} bytes\nSignature (Hex):\n{dump(data[size:], size)}\n"
    )
