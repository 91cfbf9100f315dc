"""Provisioning profiles: a property list inside a signed message, here without signers"""
import datetime
import plistlib
import uuid

SIGNED_DATA = bytes.fromhex("06092a864886f70d010702")
DATA = bytes.fromhex("06092a864886f70d010701")
SHA256 = bytes.fromhex("300d06096086480165030402010500")
SEQUENCE, SET, INTEGER, OCTETS, TAGGED = 0x30, 0x31, 0x02, 0x04, 0xA0


def item(tag, content):
    """One item of DER: tag, length, content."""
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def message(content):
    """The signed message around `content`."""
    inner = item(SEQUENCE, DATA + item(TAGGED, item(OCTETS, content)))
    signed = item(SEQUENCE, item(INTEGER, b"\1") + item(SET, SHA256) + inner + item(SET, b""))
    return item(SEQUENCE, SIGNED_DATA + item(TAGGED, signed))


def profile(identifier, team, entitlements, end=datetime.datetime(2026, 1, 1)):
    """`end`: the date from which programs with this profile no longer start."""
    start = end - datetime.timedelta(days=365)
    return message(plistlib.dumps({
        "AppIDName": "Example", "ApplicationIdentifierPrefix": [team], "CreationDate": start,
        "Platform": ["iOS"], "IsXcodeManaged": False, "DeveloperCertificates": [b"certificate"],
        "Entitlements": entitlements, "ExpirationDate": end, "Name": f"Example of {identifier}",
        "ProvisionedDevices": ["00008030-001122334455667E"], "TeamIdentifier": [team],
        "TeamName": "Example Team", "TimeToLive": 365,
        "UUID": str(uuid.uuid5(uuid.NAMESPACE_DNS, identifier)), "Version": 1}, sort_keys=False))
