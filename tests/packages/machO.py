"""Programs as the loader of a device reads them: one architecture, or several in one file

The code in them is filler. Header, load commands and signature are whole, so that what reads only
those finds what it finds in a real program.
"""
import dataclasses
import hashlib
import struct
import uuid

import signature

PAGE = 16384
EXECUTE, LIBRARY = 2, 6
IOS, WATCH = 2, 4  # platforms
SEGMENT, LIBRARY_ID, UUID, SIGNATURE, ENCRYPTION = 0x1, 0xD, 0x1B, 0x1D, 0x21
MINIMUM_IOS, MAIN, SEGMENT_64 = 0x25, 0x80000028, 0x19
ENCRYPTION_64, BUILD_VERSION = 0x2C, 0x32
LOAD_LIBRARY = 0xC


@dataclasses.dataclass(frozen=True)
class Architecture:
    name: str
    cpu: int
    subtype: int
    is64: bool


ARM64 = Architecture("arm64", 0x0100000C, 0, True)
ARMV7 = Architecture("armv7", 12, 9, False)
ARM64_32 = Architecture("arm64_32", 0x0200000C, 1, False)  # watches: pointers of 32 bits


@dataclasses.dataclass(frozen=True)
class Program:
    """What one program says of itself.

    `encryption`: the field "cryptid", or None without a load command for it: a program from the
    store has 1, a decrypted one 0. `entitlements`: a dictionary, or None for a signature without
    them. `identifier`: that of the signature, or None for a program without one.
    """
    identifier: str = None
    entitlements: dict = None
    encryption: int = None
    team: str = None
    kind: int = EXECUTE
    platform: int = IOS
    pages: int = 3


def thin(program, architecture=ARM64):
    """The bytes of a program for one architecture."""
    end = program.pages * PAGE
    if program.identifier is None:
        return whole(program, architecture, None, end)
    label = signature.Label(program.identifier, program.team, program.entitlements)
    size = len(signature.superBlob(label, bytes(end)))
    code = whole(program, architecture, size, end)
    return code + signature.superBlob(label, code)


def whole(program, architecture, signatureSize, end):
    """Header, load commands and code: all that a signature covers."""
    commands = loadCommands(program, architecture, signatureSize, end)
    magic = 0xFEEDFACF if architecture.is64 else 0xFEEDFACE
    header = struct.pack("<7L", magic, architecture.cpu, architecture.subtype, program.kind,
                         len(commands), sum(map(len, commands)), 0x00200085)
    start = header + (bytes(4) if architecture.is64 else b"") + b"".join(commands)
    assert len(start) <= PAGE
    return start.ljust(PAGE, b"\0") + filler(f"{program.identifier} {architecture.name}", end - PAGE)


def filler(seed, size):
    """Bytes that deflate to about a third, always the same for one seed."""
    block = hashlib.shake_128(seed.encode()).digest(size // 3 + 1)
    return (block * 3)[:size]


# --- Load commands -----------------------------------------------------------------------------------


def loadCommands(program, architecture, signatureSize, end):
    linked = signatureSize or 0
    commands = [
        segment(architecture, "__TEXT", 0, end, 5),
        segment(architecture, "__LINKEDIT", end, linked, 1),
        command(UUID, uuid.uuid5(uuid.NAMESPACE_DNS, str(program.identifier)).bytes),
        version(program, architecture),
        *([main()] if program.kind == EXECUTE else [library(LIBRARY_ID, "@rpath/Library")]),
        library(LOAD_LIBRARY, "/usr/lib/libSystem.B.dylib"),
    ]
    if program.encryption is not None:
        fields = struct.pack("<3L", PAGE, end - PAGE, program.encryption)
        commands.append(command(ENCRYPTION_64, fields + bytes(4)) if architecture.is64
                        else command(ENCRYPTION, fields))
    if signatureSize is not None:
        commands.append(command(SIGNATURE, struct.pack("<2L", end, signatureSize)))
    return commands


def command(kind, fields):
    return struct.pack("<2L", kind, 8 + len(fields)) + fields


def segment(architecture, name, offset, size, protection):
    text = name.encode().ljust(16, b"\0")
    place = (offset, size, offset, size)  # in memory, and in the file
    if architecture.is64:
        return command(SEGMENT_64, text + struct.pack("<4Q4L", *place, protection, protection, 0, 0))
    return command(SEGMENT, text + struct.pack("<4L4L", *place, protection, protection, 0, 0))


def version(program, architecture):
    minimum, kit = 14 << 16, 17 << 16
    if architecture == ARMV7:
        return command(MINIMUM_IOS, struct.pack("<2L", 9 << 16, 10 << 16))
    return command(BUILD_VERSION, struct.pack("<4L", program.platform, minimum, kit, 0))


def main():
    return command(MAIN, struct.pack("<2Q", PAGE, 0))


def library(kind, name):
    text = name.encode() + b"\0"
    return command(kind, struct.pack("<4L", 24, 2, 0x10000, 0x10000) + text.ljust(-len(text) % 8 + len(text), b"\0"))


# --- Several architectures in one file ---------------------------------------------------------------


def fat(program, architectures=(ARMV7, ARM64), wide=False):
    """One program for several architectures. `wide`: with offsets of 64 bits."""
    return joined([(architecture, thin(program, architecture)) for architecture in architectures], wide)


def joined(slices, wide=False):
    """`slices`: pairs of an architecture and the bytes of its program."""
    table = struct.pack(">2L", 0xCAFEBABF if wide else 0xCAFEBABE, len(slices))
    programs, offset = b"", PAGE
    for architecture, content in slices:
        kind = (architecture.cpu, architecture.subtype)
        place = (offset, len(content), 14)  # aligned to 2 to the power of 14
        table += struct.pack(">2L2Q2L", *kind, *place, 0) if wide else struct.pack(">5L", *kind, *place)
        programs += content.ljust(-len(content) % PAGE + len(content), b"\0")
        offset = PAGE + len(programs)
    return table.ljust(PAGE, b"\0") + programs
