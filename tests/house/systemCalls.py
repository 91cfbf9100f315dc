#!/usr/bin/env python3
"""Fails if a source outside files/ calls the system for a file or a folder by itself.

Everything else uses the functions of files/, which turn errno into errors with a path. A file that
has another reason to call the system is in the list below, with the reason.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

ALLOWED = {
    "Vellomir/Pictures/HelperStart.cpp": "sets up the descriptors of a child process after fork",
    "Vellomir/Pictures/SharedMemory.cpp": "seals and maps memory that has no name in a folder",
    "Vellomir/Window/TerminationSignals.cpp": "writes to a pipe inside a signal handler",
    "cli/Terminal.cpp": "asks a terminal for its width",
    "cli/main.cpp": "opens closed standard streams before anything else runs",
}

NAMES = """
    access chmod chown close closedir copy_file_range creat dup dup2 dup3 faccessat fallocate fchmod
    fchmodat fchown fchownat fcntl fdatasync fdopen fdopendir flock fstat fstatat fstatvfs fsync
    ftruncate futimens ioctl lchown link linkat lseek lstat mkdir mkdirat mkdtemp mkfifo mkostemp
    mkstemp mmap open openat opendir posix_fadvise posix_fallocate pread pwrite read readdir readlink
    readlinkat readv remove rename renameat renameat2 rewinddir rmdir sendfile stat statvfs symlink
    symlinkat sync syscall truncate umask unlink unlinkat utimensat utimes write writev
"""
CALL = re.compile(rf"(?<![\w>])::({'|'.join(NAMES.split())})\b(?! *:)")


def sources():
    command = ["git", "-c", "safe.directory=*", "-C", str(ROOT), "ls-files", "--",
               "archive/*.cpp", "archive/*.h", "cli/*.cpp", "cli/*.h", "Vellomir/*.cpp",
               "Vellomir/*.h"]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def callsIn(name):
    for number, line in enumerate((ROOT / name).read_text().splitlines(), start=1):
        for call in CALL.findall(line.split("//")[0]):
            yield number, call


def main():
    names = [name for name in sources() if (ROOT / name).is_file()]
    problems = 0
    for name in names:
        calls = list(callsIn(name))
        if name in ALLOWED and not calls:
            print(f"{name}: calls nothing any more; take it off the list")
            problems += 1
        for number, call in calls if name not in ALLOWED else []:
            print(f"{name}:{number}: {call}: use or add a function of files/")
            problems += 1
    for name in ALLOWED.keys() - set(names):
        print(f"{name}: is on the list, but not in the tree")
        problems += 1
    if len(names) < 100:
        print(f"only {len(names)} sources were found")
        problems += 1
    print(f"{len(names)} sources, {len(ALLOWED)} with calls of their own")
    return 1 if problems else 0


sys.exit(main())
