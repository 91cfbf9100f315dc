"""What the tests of the built program share.

The program's path comes in VELLOMIR_CLI. Every test has a folder of its own, on a memory-backed
file system where there is one, and looks at the three things that a caller sees: standard output,
standard error and the exit code.
"""
import contextlib
import hashlib
import os
import plistlib
import shutil
import stat
import struct
import subprocess
import tempfile
import unittest
import zipfile
import zlib
from pathlib import Path

PROGRAM = os.environ["VELLOMIR_CLI"]
os.environ["LC_ALL"] = "C.UTF-8" # for the referees, which else take names for ASCII
NOBODY = 65534
# For runs that cannot write the profile of tests/coverage.
UNCOUNTED = {**os.environ, "LLVM_PROFILE_FILE": "/dev/null"}
ICON_NAMES = ["icon.png", "icon@2x.png", "icon@3x.png", "AppIcon76x76@2x~ipad.png",
              "AppIcon60x60@2x.png"]


class Result:
    """What a run left behind; texts with surrogates where the bytes are no UTF-8."""

    def __init__(self, code, out, err):
        self.code = code
        self.bytes = out
        self.out = out.decode("utf-8", "surrogateescape")
        self.err = err.decode("utf-8", "surrogateescape")


class Case(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else None
        self.folder = Path(tempfile.mkdtemp(prefix="vellomir-", dir=memory))
        os.chmod(self.folder, 0o755)
        self.addCleanup(removeTree, self.folder)

    # --- Running ---------------------------------------------------------------------------------

    def cli(self, *arguments, cwd=None, **options):
        """Runs the program in the test's folder, or in another one."""
        run = subprocess.run([PROGRAM, *map(os.fspath, arguments)], cwd=cwd or self.folder,
                             stdin=subprocess.DEVNULL, capture_output=True, check=False, **options)
        return Result(run.returncode, run.stdout, run.stderr)

    def succeed(self, *arguments, **options):
        """Runs the program, which must be silent on standard error; returns its output."""
        result = self.cli(*arguments, **options)
        self.assertEqual((result.err, result.code), ("", 0))
        return result.out

    def fail_(self, *arguments, code=1, out="", **options):
        """Runs the program, which must fail with one line; returns that line without its start."""
        result = self.cli(*arguments, **options)
        self.assertEqual(result.code, code, result.err)
        self.assertEqual(result.out, out)
        return self.errorLine(result.err)

    def errorLine(self, err):
        self.assertRegex(err, r"\Avellomir-cli: [^\n]+\n\Z")
        return err.removeprefix("vellomir-cli: ").removesuffix("\n")

    def asUser(self):
        """Options that let the program run without the rights of the superuser."""
        if os.geteuid() != 0:
            return {}
        self.openToAll(self.folder)
        return {"user": NOBODY, "group": NOBODY, "extra_groups": [], "env": UNCOUNTED}

    def openToAll(self, folder):
        """Hands the test's folder to the user that the program runs as."""
        for path in [folder, *folder.rglob("*")]:
            os.chown(path, NOBODY, NOBODY, follow_symlinks=False)

    # --- Files -----------------------------------------------------------------------------------

    def write(self, name, content=b"", mode=None):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        if mode is not None:
            path.chmod(mode)
        return path

    @contextlib.contextmanager
    def unchanged(self):
        """What exists in the test's folder stays as it is, and nothing is added."""
        before = snapshot(self.folder)
        yield
        self.assertEqual(snapshot(self.folder), before)


def removeTree(folder):
    for path, folders, _ in os.walk(folder):
        for name in folders:
            if not os.path.islink(os.path.join(path, name)):
                os.chmod(os.path.join(path, name), 0o700)
    shutil.rmtree(folder)


def snapshot(folder):
    """Every item below a folder: its kind, its mode and its content."""
    found = {}
    for path in sorted(folder.rglob("*")):
        status = path.lstat()
        if stat.S_ISLNK(status.st_mode):
            content = os.readlink(path)
        elif stat.S_ISREG(status.st_mode):
            content = hashlib.sha256(path.read_bytes()).hexdigest()
        else:
            content = None
        found[str(path.relative_to(folder))] = (oct(status.st_mode), content)
    return found


# --- Archives and packages ---------------------------------------------------------------------------


def zipInfo(name, mode=0o100644, method=zipfile.ZIP_STORED):
    info = zipfile.ZipInfo(name, (2025, 1, 1, 13, 25, 58))
    info.create_system = 3
    info.external_attr = mode << 16
    info.compress_type = method
    return info


def makeZip(path, entries, method=zipfile.ZIP_STORED):
    """`entries`: pairs of a name and a content, or triples with the mode word."""
    with zipfile.ZipFile(path, "w") as package:
        for name, content, *mode in entries:
            usual = 0o040755 if name.endswith("/") else 0o100644
            package.writestr(zipInfo(name, mode[0] if mode else usual, method), content)
    return path


def infoPlist(**changes):
    values = {"CFBundleIdentifier": "com.example.notes", "CFBundleDisplayName": "Notes",
              "CFBundleName": "notes", "CFBundleIcons": {"CFBundlePrimaryIcon": {}},
              "LSRequiresIPhoneOS": True}
    values.update(changes)
    return plistlib.dumps(values, fmt=plistlib.FMT_BINARY)


def packageEntries(plist=None):
    return [("Payload/", b""), ("Payload/Notes.app/", b""),
            ("Payload/Notes.app/Info.plist", infoPlist() if plist is None else plist),
            ("Payload/Notes.app/Notes", b"\xca\xfe\xba\xbe" * 10, 0o100755),
            ("Payload/Notes.app/icon.png", b"old icon"), ("Payload/Notes.app/Resources/", b""),
            ("Payload/Notes.app/Resources/text.txt", b"text")]


def makePackage(path, plist=None, method=zipfile.ZIP_DEFLATED):
    return makeZip(path, packageEntries(plist), method)


def makeLargePackage(path, size=256 << 20):
    """A package with a stored file of zeros that takes a while, but no room."""
    with zipfile.ZipFile(path, "w") as package:
        package.writestr(zipInfo("Payload/Notes.app/Info.plist"), infoPlist())
        package.writestr(zipInfo("Payload/Notes.app/big"), b"")
    content = path.read_bytes()
    zeros = zlib.crc32(bytes(1 << 20))
    for _ in range((size >> 20) - 1):
        zeros = zlib.crc32(bytes(1 << 20), zeros)
    sizes = zeros.to_bytes(4, "little") + size.to_bytes(4, "little") * 2
    local = content.index(b"PK\3\4", 1)
    central = content.index(b"PK\1\2")
    record = content.index(b"PK\1\2", central + 1)
    end = content.index(b"PK\5\6")
    offset = (central + size).to_bytes(4, "little")
    with open(path, "wb") as file:
        file.write(content[:local + 14] + sizes + content[local + 26:central])
        file.seek(size, os.SEEK_CUR)
        file.write(content[central:record + 16] + sizes + content[record + 28:end + 16] + offset +
                   content[end + 20:])


def corrupt(path, find, replacement):
    """Replaces bytes in a file by as many others."""
    content = path.read_bytes()
    assert content.count(find) == 1 and len(find) == len(replacement)
    path.write_bytes(content.replace(find, replacement))


def makePicture(path, width=40, height=20):
    """A PNG whose left half is red and whose right half is blue."""
    row = b"\0" + b"\xff\0\0" * (width // 2) + b"\0\0\xff" * (width - width // 2)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                     chunk(b"IDAT", zlib.compress(row * height)) + chunk(b"IEND", b""))
    return path


def successLog(number, icon=False, oldName="Notes", identifier="com.example.notes"):
    """The lines of a job that goes well."""
    icons = ["Image picked", *(name + " updated" for name in ICON_NAMES)]
    return ["Unzipping IPA...", "Unzipped IPA file successfully",
            *(icons if icon else ["No image selected"]), "Updating Info.plist",
            f"Previous Bundle ID: {identifier}", f"New Bundle ID: {identifier}{number}",
            f"Previous App Name: {oldName}", f"New App Name: {oldName}{number}",
            "Info.plist updated successfully", "Created temporary folder", "Moved Payload folder",
            "Zipped updated app successfully", f"Zipped IPA file: {oldName}{number}.ipa",
            "Temporary files cleared"]


def lines(*text):
    return "".join(line + "\n" for line in text)
