"""Random packages: whole, unusual and damaged ones, each from its number"""
import plistlib
import random
import struct
import zlib

FILE, FOLDER, LINK = 0o100644, 0o040755, 0o120777
UTF8, STREAMED, ENCRYPTED = 0x800, 0x8, 0x1
APP = "Payload/Notes.app/"
NAMES = ["Notes", "a.bin", "b.txt", "Assets.car", "data", "Data", "z.nib", "é.txt", "1", "icon@2x.png.bak",
         "Info.plist.old", "libswift.dylib", "x y", "%41", "a\\b", "-", "~", "Payload"]
DATES = [(0x5A21, 0x6B3D), (0x5A21, 0x6B3C), (0x0021, 0), (0, 0), (0xFFFF, 0xFFFF), (0xEE9F, 0xBF7D), (0x5A00, 0x0001)]


class Entry:
    """`changes`: fields of the records that differ from what the data would need."""

    def __init__(self, name, content=b"", mode=FILE, random_=None, **changes):
        self.name = name if isinstance(name, bytes) else name.encode()
        self.content, self.mode, self.changes = content, mode, changes
        chance = random_ or random.Random(self.name)
        self.date, self.time = chance.choice(DATES)
        self.system = 3 if chance.random() < 0.9 else chance.choice([0, 7, 19])
        self.method = 8 if content and chance.random() < 0.6 else 0
        self.flags = UTF8 | (STREAMED if content and chance.random() < 0.1 else 0)
        self.wide = bool(content) and chance.random() < 0.05
        self.extra = b"" if chance.random() < 0.8 else struct.pack("<2HBL", 0x5455, 5, 1, 1735737958)


def packed(entry):
    if entry.method != 8:
        return entry.content
    packer = zlib.compressobj(6, zlib.DEFLATED, -15)
    return packer.compress(entry.content) + packer.flush()


def written(entries, comment=b"", count=None):
    """The bytes of the archive."""
    data, directory = b"", b""
    for entry in entries:
        body, changes = packed(entry), entry.changes
        crc = changes.get("crc", zlib.crc32(entry.content))
        size, length = changes.get("size", len(entry.content)), len(body)
        flags = changes.get("flags", entry.flags)
        method = changes.get("method", entry.method)
        extra, small, packedSize = entry.extra, size, length
        if entry.wide:
            extra += struct.pack("<2HQQ", 1, 16, size, length)
            small = packedSize = 0xFFFFFFFF
        version = 45 if entry.wide else 20
        fields = struct.pack("<HHHLLL", method, entry.time, entry.date, crc, packedSize, small)
        start = changes.get("offset", len(data))
        name = entry.name
        data += struct.pack("<4sHH", b"PK\3\4", version, flags) + fields + struct.pack("<2H", len(name), len(extra))
        data += name + extra + body
        if flags & STREAMED:
            data += struct.pack("<4sLQQ" if entry.wide else "<4sLLL", b"PK\7\x08", crc, length, size)
        directory += struct.pack("<4sBBHH", b"PK\1\2", version, entry.system, version, flags) + fields
        directory += struct.pack("<5HLL", len(name), len(extra), 0, 0, 0, entry.mode << 16, start) + name + extra
    total = len(entries) if count is None else count
    return data + directory + struct.pack("<4s4H2LH", b"PK\5\6", 0, 0, total, total, len(directory), len(data),
                                          len(comment)) + comment


def plist(chance, identifier="com.example.notes", name="Notes"):
    values = {"CFBundleIdentifier": identifier, "CFBundleDisplayName": name, "CFBundleName": name.lower(),
              "CFBundleIcons": {"CFBundlePrimaryIcon": {}}, "CFBundleIconName": "AppIcon"}
    formats = [plistlib.FMT_BINARY] if "\0" in name else [plistlib.FMT_BINARY, plistlib.FMT_XML]
    return plistlib.dumps(values, fmt=chance.choice(formats))


def fileContent(chance):
    size = chance.choice([0, 1, 10, 300, 5000, 20_000, 200_000] if chance.random() < 0.3 else [0, 1, 10, 300])
    return chance.randbytes(min(size, 3000)) + bytes(max(size - 3000, 0))


def usual(chance):
    """The entries of a package that has nothing special."""
    add = [Entry(APP + "Info.plist", plist(chance), random_=chance)]
    folders = [APP] + [APP + chance.choice(["Frameworks/", "de.lproj/", "A/", "a/", "z/b/"]) for _ in range(3)]
    for _ in range(chance.randrange(12)):
        add.append(Entry(chance.choice(folders) + chance.choice(NAMES), fileContent(chance),
                         chance.choice([FILE, 0o100755, 0o100444, 0o100600, 0o100666, 0]), chance))
    for name in ["icon.png", "icon@2x.png", "AppIcon60x60@2x.png"]:
        if chance.random() < 0.4:
            add.append(Entry(APP + name, b"old", chance.choice([FILE, 0o100664]), chance))
    if chance.random() < 0.5:
        add.append(Entry(APP + "de.lproj/InfoPlist.strings", b'CFBundleDisplayName = "Notizen";', random_=chance))
        add.append(Entry(APP + "PlugIns/A.appex/Info.plist", plist(chance, "com.example.notes.a"), random_=chance))
    if chance.random() < 0.3:
        add += [Entry("iTunesMetadata.plist", b"{}", random_=chance), Entry("META-INF/a/b", b"x", random_=chance)]
    for folder in sorted(set(folders) | {"Payload/"}):
        if chance.random() < 0.5:
            add.append(Entry(folder, b"", chance.choice([FOLDER, 0o040777, 0o040700]), chance))
    unique = {entry.name: entry for entry in add}
    entries = list(unique.values())
    if chance.random() < 0.7:
        chance.shuffle(entries)
    return entries


def named(name, **more):
    return lambda chance: [Entry(name, b"content", random_=chance, **more)]


def lists(content):
    """The app's list is this."""
    return lambda chance: [Entry(APP + "Info.plist", content(chance), random_=chance)]


# What is added; an entry of a path that is there already takes its place, unless the name ends in "twice".
UNUSUAL = {
    "a path twice": lambda chance: [Entry(APP + "twin", b"1"), Entry(APP + "twin", b"2")],
    "a folder twice": lambda chance: [Entry(APP + "f/", mode=FOLDER), Entry(APP + "f/", mode=0o040700)],
    "a file in a file": lambda chance: [Entry(APP + "f", b"1"), Entry(APP + "f/g", b"2")],
    "a folder that is a file": lambda chance: [Entry(APP + "f/", mode=FOLDER), Entry(APP + "f", b"2")],
    "names that differ in case": lambda chance: [Entry(APP + "twin", b"1"), Entry(APP + "TWIN", b"2")],
    "a link": lambda chance: [Entry(APP + "link", b"Info.plist", LINK)],
    "a link out": lambda chance: [Entry(APP + "link", b"/etc/passwd", LINK)],
    "a link to a folder": lambda chance: [Entry("Payload/B.app", b"Notes.app", LINK)],
    "up and down": named("Payload/../Payload/Notes.app/x"),
    "up": named("../x"),
    "absolute": named("/Payload/Notes.app/y"),
    "a dot": named("Payload/./Notes.app/y"),
    "two slashes": named("Payload//Notes.app/y"),
    "the top": named("./"),
    "no name": named(""),
    "a slash": named("/"),
    "backslashes": named("Payload\\Notes.app\\y"),
    "a long name": named(APP + "n" * 255),
    "too long a name": named(APP + "n" * 256),
    "a long path": named(APP + "n/" * 1500 + "x"),
    "too long a path": named(APP + "n/" * 2100 + "x"),
    "a zero byte": named(APP + "a\0b"),
    "a line break": named(APP + "a\nb"),
    "no UTF-8": named(APP.encode() + b"\xff\xfe"),
    "a code page": named(APP.encode() + b"\x81.txt", flags=0),
    "UTF-8 that is not marked": named(APP + "ü.txt", flags=0),
    "no permissions": named(APP + "x", mode=0o100000),
    "nothing allowed": named(APP + "x", mode=0o100111),
    "setuid": named(APP + "x", mode=0o104755),
    "setgid": named(APP + "x", mode=0o102755),
    "sticky": lambda chance: [Entry(APP + "s/", mode=0o041777), Entry(APP + "s/x", b"1")],
    "a folder that is read-only": lambda chance: [Entry(APP, mode=0o040555)],
    "a folder that is closed": lambda chance: [Entry(APP + "s/", mode=0o040000), Entry(APP + "s/x", b"1")],
    "a folder without search": lambda chance: [Entry(APP + "s/", mode=0o040644), Entry(APP + "s/x", b"1")],
    "a list that is read-only": lambda chance: [Entry(APP + "Info.plist", plist(chance), 0o100444)],
    "an icon that is read-only": lambda chance: [Entry(APP + "icon.png", b"old", 0o100444)],
    "an icon that is a folder": lambda chance: [Entry(APP + "icon@2x.png/", mode=FOLDER)],
    "a list that is a folder": lambda chance: [Entry(APP + "Info.plist/", mode=FOLDER)],
    "a list with more in its name": lambda chance: [Entry(APP + "Info.plist-old", plist(chance))],
    "a list in a folder of its name": lambda chance: [Entry("Payload/A.app/Info.plist.d/x", plist(chance))],
    "a bundle that is a file": lambda chance: [Entry("Payload/A.app", b"1")],
    "an app in front": lambda chance: [Entry("Payload/A.app/Info.plist", plist(chance, name="A"))],
    "an app outside": lambda chance: [Entry("A.app/Info.plist", plist(chance, name="A"))],
    "a device": named(APP + "d", mode=0o020644),
    "a pipe": named(APP + "p", mode=0o010644),
    "a folder with data": lambda chance: [Entry(APP + "f/", b"data", FOLDER)],
    "a folder with a sum": lambda chance: [Entry(APP + "f/", b"", FOLDER, crc=1)],
    "a file with a slash": lambda chance: [Entry(APP + "f/", b"data", FILE)],
    "a wrong sum": named(APP + "x", crc=1),
    "a wrong sum outside": named("x", crc=1),
    "a smaller size": named(APP + "x", size=3),
    "a greater size": named(APP + "x", size=30),
    "a huge size": named(APP + "x", size=0xFFFFFFF0),
    "another method": named(APP + "x", method=12),
    "stored, it says": named(APP + "x", method=0),
    "deflated, it says": named(APP + "x", method=8),
    "encrypted": named(APP + "x", flags=UTF8 | ENCRYPTED),
    "a header elsewhere": named(APP + "x", offset=0),
    "no header": named(APP + "x", offset=1),
    "a list that is damaged": lists(lambda chance: b"bplist00damaged"),
    "a list of another kind": lists(lambda chance: plistlib.dumps([1, 2])),
    "a list without names": lists(lambda chance: plistlib.dumps({"a": 1})),
    "a name with a slash": lists(lambda chance: plist(chance, name="a/b")),
    "a name with dots": lists(lambda chance: plist(chance, name="../a")),
    "a name in the tree": lists(lambda chance: plist(chance, name="app/unzipped/META-INF/a/c")),
    "a name at a file": lists(lambda chance: plist(chance, name="app/unzipped/iTunesMetadata.plist/c")),
    "a name in the staging folder": lists(lambda chance: plist(chance, name="tempFolder/a")),
    "a name where the app was": lists(lambda chance: plist(chance, name="app/unzipped/Payload/c")),
    "a long app name": lists(lambda chance: plist(chance, name="n" * 300)),
    "a name with a zero byte": lists(lambda chance: plist(chance, name="n\0m")),
    "a name like the package's": lists(lambda chance: plist(chance, name="app")),
    "a language that is a file": lambda chance: [Entry(APP + "fr.lproj", b"1")],
    "languages": lambda chance: [Entry(APP + "fr.lproj/InfoPlist.strings", b"\xff", 0o100644)],
    "an extension that is a file": lambda chance: [Entry(APP + "PlugIns/B.appex", b"1")],
    "a table": lambda chance: [Entry(APP + "InfoPlist.loctable", plistlib.dumps({"de": {"CFBundleName": "n"}}))],
}


def withoutPayload(entries):
    for entry in entries:
        entry.name = entry.name.replace(b"Payload/", b"payload/")
    return entries


def onlyFilePayload(chance):
    return [Entry("Payload", b"a file", random_=chance), Entry("A.app/Info.plist", plist(chance))]


def make(number, seed):
    """The bytes of a package, and words about it."""
    chance = random.Random(f"{seed}/{number}")
    entries, words = usual(chance), "usual"
    kind = chance.random()
    if kind > 0.3:
        words = chance.choice(sorted(UNUSUAL))
        extra = UNUSUAL[words](chance)
        names = {entry.name for entry in extra}
        entries = [entry for entry in entries if entry.name not in names]
        for entry in extra:
            entries.insert(chance.randrange(len(entries) + 1), entry)
    if chance.random() < 0.02:
        words, entries = words + ", no payload", withoutPayload(entries)
    elif chance.random() < 0.01:
        words, entries = "the payload is a file", onlyFilePayload(chance)
    count = len(entries) + chance.choice([-1, 1]) if chance.random() < 0.02 else None
    content = written(entries, b"comment" if chance.random() < 0.1 else b"", count)
    if chance.random() < 0.15:
        words += ", damaged"
        for _ in range(chance.randrange(1, 4)):
            place = chance.randrange(len(content))
            content = content[:place] + chance.randbytes(1) + content[place + 1:]
        if chance.random() < 0.2:
            content = content[:chance.randrange(len(content))]
    return content, words
