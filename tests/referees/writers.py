"""Other packers: each packs a tree with options that are chosen at random"""
import calendar
import os
import random
import stat
import subprocess
import sys
import time
import zipfile

from model import FILE, FOLDER, LINK, digest
from readers import REFEREE


class Packing:
    """One archive that another tool makes of a folder, and what is known of it."""

    def __init__(self, folder, items, archive, choices):
        self.folder = folder
        self.items = items
        self.archive = archive
        self.choices = choices
        self.readOptions = []  # how ours shall read it
        self.withoutFolders = False  # whether folders have no entries of their own
        self.hasModes = True  # whether modes and links were written
        self.description = ""

    def maybe(self, *options):
        return list(options) if self.choices.random() < 0.5 else []

    def hasLinks(self):
        return any(item.kind == LINK for item in self.items.values())

    def hasEmptyFiles(self):
        return any(item.content == digest(b"") for item in self.items.values())

    def hasOnlyFolders(self):
        return all(item.kind == FOLDER for item in self.items.values())

    def run(self, command):
        """Fails with what the tool said."""
        self.description = " ".join(command)
        ran = subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL, env=REFEREE,
                             umask=0, capture_output=True, check=False)
        if ran.returncode != 0:
            raise ValueError(f"{command}: {ran.stderr!r}")
        return ran.stdout

    def writeOutput(self, command):
        with open(self.archive, "wb") as file:
            file.write(self.run(command))


def infoZip(packing):
    """zip: to a file or a pipe, with data descriptors, ZIP64 records, names with or without flag."""
    form = packing.choices.choice([[], [], ["-fd"], ["-fz"]])
    isPiped = packing.choices.random() < 0.5
    if packing.hasLinks():
        isPiped, form = False, []
    if form == ["-fz"] and (isPiped or packing.hasEmptyFiles() or packing.hasOnlyFolders()):
        form = []
    level = packing.choices.randint(1 if isPiped or form == ["-fd"] else 0, 9)
    options = ["-qry", f"-{level}", *packing.maybe("-X"), *form]
    packing.withoutFolders = form == ["-fz"] or packing.choices.random() < 0.3
    if packing.hasOnlyFolders():
        packing.withoutFolders = False  # zip makes no archive without entries
    if packing.withoutFolders:
        options.append("-D")
    packing.readOptions = ["--encoding", "utf-8"]  # zip does not set the flag
    if isPiped:
        return packing.writeOutput(["zip", *options[:1], "-", ".", *options[1:]])
    packing.run(["zip", *options[:1], packing.archive, ".", *options[1:]])


def bsdtar(packing):
    """bsdtar: sizes behind the data, ZIP64 records or none."""
    choices = packing.choices
    options = ["compression=" + choices.choice(["store", "deflate"])]
    options += [f"zip:{choices.choice(['zip64', '!zip64'])}"] if choices.random() < 0.5 else []
    names = sorted(os.listdir(packing.folder)) if packing.maybe("names") else ["."]
    command = ["bsdtar", "--format", "zip", "--options", "zip:" + ",".join(options), "-cf"]
    if packing.maybe("pipe"):
        return packing.writeOutput([*command, "-", "--", *(tarName(name) for name in names)])
    packing.run([*command, packing.archive, "--", *(tarName(name) for name in names)])


def tarName(name):
    """A name that bsdtar takes as it is: not for another archive, not for a pattern."""
    return "./" + name if name[0] in "@\\" else name


def sevenZip(packing):
    """7z: all levels, stored or deflated, times of other systems in extra fields or not."""
    level = 0 if packing.hasLinks() else packing.choices.choice([0, 1, 3, 5, 7])
    options = [f"-mx={level}", *packing.maybe("-mtc=on"), *packing.maybe("-mcu=on")]
    packing.run(["7z", "a", "-tzip", "-mm=" + ("Copy" if level == 0 else "Deflate"), *options,
                 "-bso0", "-bsp0", packing.archive, "."])


class OldNames(zipfile.ZipInfo):
    """A name of code page 437, without the flag."""

    def _encodeFilenameFlags(self):
        return self.filename.encode("cp437"), self.flag_bits & ~0x800


class Pipe:
    """A file that cannot seek: what is written to it has data descriptors."""

    def __init__(self, file):
        self.write, self.flush = file.write, file.flush


def python(packing):
    """Python: every host, extra fields, comments, names of code page 437, ZIP64 records."""
    choices = packing.choices
    host = choices.choice([3, 3, 3, 19, 0])
    packing.hasModes = host != 0
    packing.withoutFolders = choices.random() < 0.2
    isPiped, is64 = choices.random() < 0.5, choices.random() < 0.3
    if packing.hasModes and packing.hasLinks():
        isPiped = is64 = False
    if isPiped and sys.version_info < (3, 11, 4):
        is64 = False
    packing.description = f"Python, host {host}, pipe {isPiped}, ZIP64 {is64}"
    with open(packing.archive, "wb") as file:
        with zipfile.ZipFile(Pipe(file) if isPiped else file, "w") as package:
            package.comment = choices.choice([b"", b"comment", b"PK\1\2" + b"x" * 60, b"y" * 65535])
            for path, item in choices.sample(sorted(packing.items.items()), len(packing.items)):
                if not (item.kind == FOLDER and packing.withoutFolders):
                    add(package, packing, entryInfo(path, item, host, choices), is64)


def entryInfo(path, item, host, choices):
    name = path.decode() + ("/" if item.kind == FOLDER else "")
    fields = time.gmtime(min(max(item.seconds, 315532800), calendar.timegm((2107, 12, 31, 23, 59, 59))))
    kind = OldNames if isOldName(name) and choices.random() < 0.5 else zipfile.ZipInfo
    info = kind(name, fields[:6])
    types = {FILE: stat.S_IFREG, FOLDER: stat.S_IFDIR, LINK: stat.S_IFLNK}
    info.create_system = host
    info.external_attr = (types[item.kind] | item.mode) << 16 if host else 0
    info.compress_type = zipfile.ZIP_STORED
    if item.kind == FILE:
        info.compress_type = choices.choice([zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED])
    info.comment = choices.choice([b"", b"note", b"PK\1\2" * 20])
    info.extra = choices.choice([b"", b"UT\5\0\1\0\0\0\0", b"\xfe\xca\0\0", b"zz\xff\0" + b"e" * 255])
    return info


def isOldName(name):
    try:
        return name.encode("cp437").decode("cp437") == name
    except UnicodeEncodeError:
        return False


def add(package, packing, info, is64):
    path = info.filename.rstrip("/").encode()
    item = packing.items[path]
    content = item.content if item.kind == LINK else b""
    if item.kind == FILE:
        with open(os.path.join(os.fsencode(packing.folder), path), "rb") as file:
            content = file.read()
    with package.open(info, "w", force_zip64=is64) as entry:
        entry.write(content)


WRITERS = {"zip": infoZip, "bsdtar": bsdtar, "7z": sevenZip, "python": python}


def pack(tool, folder, items, archive, seed):
    packing = Packing(folder, items, archive, random.Random(seed))
    WRITERS[tool](packing)
    return packing
