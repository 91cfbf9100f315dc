"""What other tools cannot represent: the one table of exceptions, each with its reason

An exception changes what is expected of one tool, as narrowly as the tool's own behaviour is known.
Everything else must be equal.
"""
import calendar
import os
import re
import time
import unicodedata

from model import FILE, FOLDER, LINK, Item, digest, withParents

EXCEPTIONS = []  # of (direction, tool, reason, function)
READS, WRITES = "reads ours", "writes for ours"
FIRST, AFTER_LAST = calendar.timegm((1980, 1, 1, 0, 0, 0)), calendar.timegm((2108, 1, 1, 0, 0, 0))


def exception(direction, tool, reason):
    """Enters a function into the table; it gets the expected items and returns those it changed."""

    def enter(function):
        EXCEPTIONS.append((direction, tool, reason, function))
        return function

    return enter


def applied(direction, tool, items):
    """What is expected of a tool, after its exceptions in the order of the table."""
    for where, who, _reason, change in EXCEPTIONS:
        if (where, who) == (direction, tool):
            items = change(items)
    return items


class Incomparable(Exception):
    """The tool cannot read this tree at all."""


def renamed(items, change):
    """With other paths, which must not become one."""
    result = {change(path): item for path, item in items.items()}
    if len(result) != len(items):
        raise Incomparable
    return result


# --- Ours, as others read it -----------------------------------------------------------------------


def ourSeconds(status):
    """The time that ours writes: of 2 seconds, in the years 1980 to 2099."""
    fields = time.gmtime(int(status.st_mtime_ns // 10**9 + status.st_mtime_ns % 10**9 / 1e9))
    year = min(max(fields.tm_year, 1980), 2099)
    return calendar.timegm((year, *fields[1:6])) - fields.tm_sec % 2


def packedByOurs(items, parent):
    """What any reader shall find in an archive of ours, whose paths start with `parent`."""
    return withParents(renamed(items, lambda path: parent + b"/" + path if parent else path))


def readBackByOurs(items):
    """Ours unpacks what it packed; a mode of 0 means that none is known."""
    return {path: item if item.kind == LINK else item.but(mode=item.mode or usualMode(item))
            for path, item in items.items()}


def usualMode(item):
    return 0o755 if item.kind == FOLDER else 0o644


@exception(READS, "unzip", "drops control characters from names")
def withoutControls(items):
    return renamed(items, lambda path: re.sub(rb"[\x00-\x1f\x7f]", b"", path))


@exception(READS, "unzip", "sets no times of links")
def withoutLinkTimes(items):
    return {path: item.but(seconds=None) if item.kind == LINK else item
            for path, item in items.items()}


@exception(READS, "bsdtar", "takes a backslash for a slash in paths without a slash, and drops one at the "
           "start of a path: not run on those")
def withoutBackslashes(items):
    for path, item in items.items():
        if path.startswith(b"\\") or b"\\" in path and b"/" not in path and item.kind != FOLDER:
            raise Incomparable
    return items


@exception(READS, "bsdtar", "composes decomposed names and targets; not run where two names become one")
def composed(items):
    def compose(text):
        return re.sub("[a-z][\u0300-\u036f]", lambda pair: unicodedata.normalize("NFC", pair.group()),
                      text.decode()).encode()

    return renamed({path: item.but(content=compose(item.content)) if item.kind == LINK else item
                    for path, item in items.items()}, compose)


@exception(READS, "bsdtar", "restores set-user-ID and set-group-ID of files for the superuser only")
def withoutSetID(items):
    if os.geteuid() == 0:
        return items
    return {path: item.but(mode=item.mode & ~0o6000) if item.kind == FILE else item
            for path, item in items.items()}


@exception(READS, "7z", "makes an empty file of a link to \".\", one by way of \"..\", and one by way of "
           "a link that it has made before, and says so")
def withoutDangerousLinks(items):
    return {path: Item(FILE, 0o666, None, digest(b"")) if isDangerous(path, items) else item
            for path, item in items.items()}


def isDangerous(path, items):
    item = items[path]
    parts = item.content.split(b"/")
    if item.kind != LINK or item.content == b"." or b".." in parts:
        return item.kind == LINK
    # Ours stores the links of a folder in the order of their names, before those of folders below.
    first = path[:len(path) - len(path.rpartition(b"/")[2])] + parts[0]
    return (first < path and first in items and items[first].kind == LINK
            and not isDangerous(first, items))


@exception(READS, "7z", "restores no set-user-ID, set-group-ID and sticky bits; opens folders to their "
           "owner")
def withoutSpecialBits(items):
    return {path: item if item.kind == LINK or item.mode is None else
            item.but(mode=item.mode & 0o777 | (0o700 if item.kind == FOLDER else 0))
            for path, item in items.items()}


def exitCode(tool, items):
    """Of a tool that reads an archive of ours; `items` is what is in it."""
    if not items and tool == "unzip":
        return 1  # its warning
    if tool == "7z" and any(isDangerous(path, items) for path in items):
        return 2
    return 0


# --- Others', as ours reads it ---------------------------------------------------------------------


def isTestable(items, options):
    """`archive test` takes no encoding: names of UTF-8 must be short enough as code page 437, too."""
    return not options or all(len(part.decode("cp437").encode()) < 256
                              for path in items for part in path.split(b"/"))


def seenByOurs(items, packing):
    """What ours shall unpack: the defaults where an archive says nothing."""
    result = {path: readable(item, packing.hasModes) for path, item in items.items()
              if not (packing.withoutFolders and item.kind == FOLDER)}
    return {path: item.but(mode=item.mode or usualMode(item))
            for path, item in withParents(result).items()}


def readable(item, hasModes):
    if not hasModes and item.kind == LINK:
        return Item(FILE, None, item.seconds, digest(item.content))
    return item if hasModes else item.but(mode=None)


def timesThrough(items, change):
    return {path: item.but(seconds=change(item.seconds)) for path, item in items.items()}


def secondsFor(tool):
    """How a tool reads an item's time: 7z counts any part of a second of 100 ns and more as a whole."""
    if tool == "7z":
        return lambda status: -(-(status.st_mtime_ns // 100) // 10**7)
    return lambda status: status.st_mtime_ns // 10**9


def limited(seconds, last):
    return FIRST if seconds < FIRST else min(seconds, last)


@exception(WRITES, "zip", "rounds times up to 2 seconds, and counts years beyond 2107 from 1980 again")
def roundedUpAndAround(items):
    def change(seconds):
        even = seconds + seconds % 2
        if even < FIRST:
            return FIRST
        fields = time.gmtime(even)
        return calendar.timegm((1980 + (fields.tm_year - 1980) % 128, *fields[1:6]))

    return timesThrough(items, change)


@exception(WRITES, "zip", "with -fz writes sizes of 0 as 0xFFFFFFFF with 0 in the ZIP64 field, which ours "
           "reads as 0xFFFFFFFF: no -fz with empty files or entries of folders")
@exception(WRITES, "zip", "with -fz to a pipe writes archives that no tool can read")
@exception(WRITES, "zip", "sends no links to a pipe, and none with data descriptors")
@exception(WRITES, "zip", "with -fz gives links no 32-bit size, which is the one that ours reads: no -fz with links")
@exception(WRITES, "python", "gives links no size in the local header: no pipe and no ZIP64 with links")
@exception(WRITES, "python", "before 3.11.4 announces no ZIP64 data descriptors: no ZIP64 to a pipe")
@exception(WRITES, "7z", "deflates targets of links, which ours does not inflate: no Deflate with links")
@exception(WRITES, "7z", "makes no archive of an empty folder; nor do zip and bsdtar")
def asItIs(items):
    return items  # the writers choose their options so


@exception(WRITES, "bsdtar", "cuts times to 2 seconds, and to the years 1980 to 2107")
@exception(WRITES, "python", "is given times of 2 seconds in the years 1980 to 2107 only")
def cut(items):
    return timesThrough(items, lambda seconds: limited(seconds - seconds % 2, AFTER_LAST - 2))


@exception(WRITES, "7z", "rounds times up to 2 seconds, and cuts them to the years 1980 to 2107")
def roundedUp(items):
    return timesThrough(items, lambda seconds: limited(seconds + seconds % 2, AFTER_LAST - 2))
