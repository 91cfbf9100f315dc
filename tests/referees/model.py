"""Trees of files as values: what is on disk, and how two trees differ"""
import dataclasses
import hashlib
import os
import stat

FILE, FOLDER, LINK = "file", "folder", "link"
KINDS = {stat.S_IFREG: FILE, stat.S_IFDIR: FOLDER, stat.S_IFLNK: LINK}
TYPE_BITS = {kind: bits for bits, kind in KINDS.items()}


@dataclasses.dataclass(frozen=True)
class Item:
    """One file, folder or link. `mode` and `seconds` are None where they are not compared."""
    kind: str
    mode: int | None = None
    seconds: int | None = None
    content: bytes = b""  # a file's digest, a link's target, nothing for a folder

    def but(self, **changes):
        return dataclasses.replace(self, **changes)


def digest(content):
    return hashlib.sha1(content).digest()


def fileDigest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha1").digest()


def look(folder, seconds=lambda status: int(status.st_mtime)):
    """The items below a folder by their relative paths, all of it in bytes.

    `seconds` makes an item's time of its status.
    """
    found = {}
    pending = [b""]
    while pending:
        prefix = pending.pop()
        with os.scandir(os.path.join(os.fsencode(folder), prefix)) as entries:
            for entry in entries:
                path = prefix + entry.name
                status = entry.stat(follow_symlinks=False)
                found[path] = lookAt(entry.path, status, seconds(status))
                if found[path].kind == FOLDER:
                    pending.append(path + b"/")
    return found


def lookAt(path, status, seconds):
    kind = KINDS.get(stat.S_IFMT(status.st_mode), "other")
    content = b""
    if kind == LINK:
        content = os.readlink(path)
    elif kind == FILE:
        content = fileDigest(path)
    return Item(kind, stat.S_IMODE(status.st_mode), seconds, content)


def differences(expected, found):
    """A line for each item that is missing, unexpected or different."""
    lines = [f"{short(path)} is missing" for path in expected.keys() - found.keys()]
    lines += [f"{short(path)} is unexpected" for path in found.keys() - expected.keys()]
    for path in expected.keys() & found.keys():
        lines += [f"{short(path)}: {text}" for text in itemDifferences(expected[path], found[path])]
    return sorted(lines)


def short(path):
    return repr(path if len(path) <= 80 else b"..." + path[-77:])


def itemDifferences(expected, found):
    for field in dataclasses.fields(Item):
        wanted, got = getattr(expected, field.name), getattr(found, field.name)
        if wanted is not None and wanted != got:
            yield f"{field.name} is {shown(field.name, got)}, not {shown(field.name, wanted)}"


def shown(field, value):
    return f"{value:04o}" if field == "mode" and value is not None else repr(value)


def withParents(items):
    """Adds the folders that only the paths of others imply."""
    result = dict(items)
    for path in items:
        while b"/" in path:
            path = path.rpartition(b"/")[0]
            result.setdefault(path, Item(FOLDER))
    return result
