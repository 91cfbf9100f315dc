"""Code signatures: a directory of hashes, requirements and entitlements

Nothing signs them: they are what "ad hoc" signatures are, and the hashes in them are right.
"""
import dataclasses
import hashlib
import plistlib
import struct

SUPER, DIRECTORY, REQUIREMENTS = 0xFADE0CC0, 0xFADE0C02, 0xFADE0C01
ENTITLEMENTS, ENTITLEMENTS_DER, SIGNED = 0xFADE7171, 0xFADE7172, 0xFADE0B01
DIRECTORY_SLOT, REQUIREMENTS_SLOT, ENTITLEMENTS_SLOT, SIGNED_SLOT = 0, 2, 5, 0x10000
PAGE_BITS = 12
SHA256 = 2
HEAD = struct.Struct(">9L4B4L4Q")  # the fields of a directory of version 0x20400


@dataclasses.dataclass(frozen=True)
class Label:
    identifier: str
    team: str = None
    entitlements: dict = None


def superBlob(label, code):
    """The signature of a program whose bytes up to the signature are `code`."""
    special = {REQUIREMENTS_SLOT: blob(REQUIREMENTS, struct.pack(">L", 0))}
    if label.entitlements is not None:
        text = plistlib.dumps(label.entitlements, sort_keys=False)
        special[ENTITLEMENTS_SLOT] = blob(ENTITLEMENTS, text)
    blobs = {DIRECTORY_SLOT: directory(label, code, special), **special, SIGNED_SLOT: blob(SIGNED, b"")}
    index, content = b"", b""
    start = 12 + 8 * len(blobs)
    for slot, bytes_ in blobs.items():
        index += struct.pack(">2L", slot, start + len(content))
        content += bytes_
    return blob(SUPER, struct.pack(">L", len(blobs)) + index + content)


def blob(magic, content):
    return struct.pack(">2L", magic, 8 + len(content)) + content


def directory(label, code, special):
    """Hashes of the special slots, the highest first, then of each page of the code."""
    slots = max(special)
    hashes = [hashlib.sha256(special[slot]).digest() if slot in special else bytes(32)
              for slot in range(slots, 0, -1)]
    size = 1 << PAGE_BITS
    hashes += [hashlib.sha256(code[start:start + size]).digest() for start in range(0, len(code), size)]
    identifier = label.identifier.encode() + b"\0"
    team = label.team.encode() + b"\0" if label.team else b""
    names = HEAD.size
    first = names + len(identifier) + len(team) + 32 * slots
    fields = (DIRECTORY, names + len(identifier) + len(team) + 32 * len(hashes), 0x20400, 2, first, names,
              slots, len(hashes) - slots, len(code), 32, SHA256, 0, PAGE_BITS, 0, 0,
              names + len(identifier) if team else 0, 0, 0, 0, len(code), 1)
    return HEAD.pack(*fields) + identifier + team + b"".join(hashes)
