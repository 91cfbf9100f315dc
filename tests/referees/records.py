"""What the records of an archive say, by Python's reader and by zipinfo"""
import calendar
import re
import stat
import subprocess
import time
import zipfile

from model import FOLDER, KINDS, LINK, Item, digest, withParents

LINE = re.compile(rb"([-dl][-rwxsStT]{9})\s+\d+\.\d\s+unx\s+(\d+)\s+\S+\s+(stor|def\S)\s+"
                  rb"(\d{8})\.(\d{6}) ")


def seconds(info):
    """An entry's time; months and days out of range are carried on, as calendars do."""
    return calendar.timegm((*info.date_time, 0, 0, 0))


def pythonItems(archive):
    """Every entry with its content, whose checksum Python compares."""
    found = {}
    with zipfile.ZipFile(archive) as package:
        for info in package.infolist():
            content = package.read(info)
            kind = KINDS.get(stat.S_IFMT(info.external_attr >> 16))
            if kind not in (LINK, FOLDER):
                content = digest(content)
            path = info.filename.encode()
            if (kind == FOLDER) != path.endswith(b"/") or path.rstrip(b"/") in found:
                raise ValueError(f"{path!r} is a {kind}, or is there twice")
            found[path.rstrip(b"/")] = Item(kind, stat.S_IMODE(info.external_attr >> 16),
                                            seconds(info), content)
    return withParents(found)


def zipinfoProblems(archive):
    """Where zipinfo's modes, sizes, methods and times are not those that Python reads."""
    run = subprocess.run(["zipinfo", "-T", archive], capture_output=True, check=False)
    lines = [match.groups() for line in run.stdout.splitlines() if (match := LINE.match(line))]
    with zipfile.ZipFile(archive) as package:
        wanted = [zipinfoFields(info) for info in package.infolist()]
    if len(lines) != len(wanted):
        return [f"{len(lines)} entries, not {len(wanted)}: {run.stderr.decode()}"]
    return [f"entry {number}: {line}, not {fields}"
            for number, (line, fields) in enumerate(zip(lines, wanted)) if line != fields]


def zipinfoFields(info):
    method = b"stor" if info.compress_type == zipfile.ZIP_STORED else b"defN"
    year, month, day, hour, minute, second = info.date_time
    return (stat.filemode(info.external_attr >> 16).encode(), b"%d" % info.file_size, method,
            b"%04d%02d%02d" % (year, month, day), b"%02d%02d%02d" % (hour, minute, second))


def listing(archive):
    """The entries as `archive list --json` shall print them."""
    with zipfile.ZipFile(archive) as package:
        return [listed(info) for info in package.infolist()]


def listed(info):
    mode = info.external_attr >> 16 if info.create_system in (3, 19) else 0
    types = {stat.S_IFREG: "file", stat.S_IFDIR: "directory", stat.S_IFLNK: "symlink"}
    usual = "directory" if info.filename.endswith("/") else "file"
    kind = types.get(stat.S_IFMT(mode), usual)
    permissions = stat.S_IMODE(mode) or (0o755 if kind == "directory" else 0o644)
    date = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds(info)))
    return {"path": info.filename, "type": kind, "method": info.compress_type,
            "compressedSize": info.compress_size, "uncompressedSize": info.file_size,
            "checksum": f"{info.CRC:08x}", "modified": date, "permissions": f"{permissions:04o}"}
