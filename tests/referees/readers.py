"""Other unpackers, and ours: each unpacks an archive into a folder"""
import dataclasses
import os
import subprocess

from records import pythonItems
from model import look

# What is the same for all tools. Ours runs in an environment of its own, see `ourEnvironment`.
REFEREE = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC"}
OURS = os.environ.get("VELLOMIR_CLI", "")
ZONES = ["UTC", "Asia/Kathmandu", "America/St_Johns", "EAST-14", "WEST+12:34"]
LOCALES = ["C", "C.UTF-8", "POSIX", "xx_XX"]


@dataclasses.dataclass
class Outcome:
    """What a tool left on disk, or what it read; its exit code and what it said."""
    items: dict
    code: int = 0
    said: str = ""


def ourEnvironment(choices):
    """A time zone, a locale and a umask that must not matter."""
    return {"env": {**os.environ, "TZ": choices.choice(ZONES), "LC_ALL": choices.choice(LOCALES)},
            "umask": choices.choice([0, 0o022, 0o077, 0o777])}


def run(command, **options):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False,
                          **{"umask": 0, "env": REFEREE, **options})


def unpack(command, folder, **options):
    os.makedirs(folder, exist_ok=True)
    ran = run(command, **options)
    return Outcome(look(folder), ran.returncode, (ran.stdout + ran.stderr).decode(errors="replace"))


def unzip(archive, folder):
    return unpack(["unzip", "-qq", "-K", archive, "-d", folder], folder)


def bsdtar(archive, folder):
    return unpack(["bsdtar", "-xpf", archive, "-C", folder], folder)


def sevenZip(archive, folder):
    return unpack(["7z", "x", "-y", "-bso0", "-bsp0", "-o" + folder, archive], folder)


def python(archive, _folder):
    return Outcome(pythonItems(archive))


READERS = {"unzip": unzip, "bsdtar": bsdtar, "7z": sevenZip, "python": python}


def ours(archive, folder, choices, options=()):
    return unpack([OURS, "archive", "extract", archive, folder, *options], folder,
                  **ourEnvironment(choices))
