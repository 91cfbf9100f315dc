"""Bundles: a property list, a program and what belongs to them

A bundle is a dictionary of its files, path below the bundle to `Item`.
"""
import dataclasses
import hashlib
import plistlib
import stat
import struct
import zlib

import machO

TEAM = "A1B2C3D4E5"


@dataclasses.dataclass(frozen=True)
class Item:
    content: bytes
    mode: int = stat.S_IFREG | 0o644


def program(content):
    return Item(content, stat.S_IFREG | 0o755)


def listed(values):
    """A property list as builds write it."""
    return Item(plistlib.dumps(values, fmt=plistlib.FMT_BINARY, sort_keys=False))


def below(folder, bundle):
    return {f"{folder}/{path}": item for path, item in bundle.items()}


def bundle(name, identifier, info=None, code=None):
    """`info`: further keys of Info.plist; `code`: the program's bytes, else a usual one's."""
    values = {"CFBundleDevelopmentRegion": "en", "CFBundleExecutable": name, "CFBundleIdentifier": identifier,
              "CFBundleInfoDictionaryVersion": "6.0", "CFBundleName": name.lower(),
              "CFBundlePackageType": "APPL", "CFBundleShortVersionString": "3.14",
              "CFBundleVersion": "159", "MinimumOSVersion": "14.0"}
    usual = machO.Program(identifier, encryption=0)
    return {"Info.plist": listed({**values, **(info or {})}),
            name: program(machO.thin(usual) if code is None else code),
            "_CodeSignature/CodeResources": Item(plistlib.dumps({"files": {}, "files2": {}}))}


def app(name, identifier, info=None, code=None):
    """An app with icons in files, which a copy can replace."""
    values = {"CFBundleDisplayName": name, "CFBundleSupportedPlatforms": ["iPhoneOS"], "LSRequiresIPhoneOS": True,
              "UIDeviceFamily": [1], "UIRequiredDeviceCapabilities": ["arm64"],
              "CFBundleIcons": {"CFBundlePrimaryIcon": {"CFBundleIconFiles": ["AppIcon60x60"]}}}
    return bundle(name, identifier, {**values, **(info or {})}, code) | {
        "PkgInfo": Item(b"APPL????"), "AppIcon60x60@2x.png": Item(picture(120)),
        "Base.lproj/Main.storyboardc/Info.plist": listed({"UIViewControllerIdentifiersToNibNames": {}})}


def extension(name, identifier, point, attributes=None, info=None, code=None):
    """`point`: the service of the system that the extension extends."""
    part = {"NSExtensionPointIdentifier": point, "NSExtensionPrincipalClass": f"{name}.Principal"}
    if attributes:
        part["NSExtensionAttributes"] = attributes
    values = {"CFBundlePackageType": "XPC!", "CFBundleDisplayName": name, "NSExtension": part}
    return bundle(name, identifier, {**values, **(info or {})}, code)


def framework(name, identifier):
    code = machO.thin(machO.Program(identifier, kind=machO.LIBRARY))
    return bundle(name, identifier, {"CFBundlePackageType": "FMWK"}, code)


def entitlements(identifier, **more):
    """Those that every signed program has, and groups with other programs.

    `more`: "groups" and "keychain", each a list, and "clipOf", the identifier of the whole app.
    """
    found = {"application-identifier": f"{TEAM}.{identifier}", "com.apple.developer.team-identifier": TEAM,
             "get-task-allow": False}
    if "groups" in more:
        found["com.apple.security.application-groups"] = more["groups"]
    if "keychain" in more:
        found["keychain-access-groups"] = [f"{TEAM}.{group}" for group in more["keychain"]]
    if "clipOf" in more:
        found["com.apple.developer.parent-application-identifiers"] = [f"{TEAM}.{more['clipOf']}"]
    return found


def picture(size):
    """A PNG of one colour that depends on its size."""
    row = b"\0" + hashlib.sha256(bytes([size])).digest()[:3] * size

    def chunk(kind, data):
        return struct.pack(">L", len(data)) + kind + data + struct.pack(">L", zlib.crc32(kind + data))

    header = struct.pack(">2L5B", size, size, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(row * size)) +
            chunk(b"IEND", b""))
