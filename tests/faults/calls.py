#!/usr/bin/env python3
"""Fails if a library calls a function of the system that no fault test can make fail.

calls.py LIBRARY... -- OBJECT...: the objects define the calls that can fail.
"""
import re
import subprocess
import sys

# Functions that only compute, or whose failure is none of a file.
HARMLESS = re.compile(
    r"_.*|XML_.*|isal_.*|(in|de)flate.*|crc32|mem\w+|str\w+|is\w+|to(low|upp)er|pthread_\w+|snprintf|vsnprintf"
    r"|sin|cos|sincos|sqrt|exp|expm1|log|atan2|atanh|floor|fprintf|std(in|out|err)|free|malloc_trim|getenv|gete?uid"
    r"|gettid|rewinddir|gmtime_r|timegm|localeconv|newlocale|iconv|iconv_close|abort|alarm|sigaction|nanosleep"
    r"|poll|time|sched_yield|sched_setscheduler|setpriority|dup2|dl(open|sym|error)|openat2"
)
# They reach the system by the calls of the tests, because the tests make the streams.
STREAMS = set("clearerr fclose ferror fflush fopencookie fread fseek fseeko ftello fwrite rewind "
              "setvbuf".split())
# Parts of the standard library that touch files; it finds the calls of the tests as well.
STANDARD = re.compile(
    r"std::filesystem::(__cxx11::path\b|canonical|create_directories|current_path|read_symlink"
    r"|status|weakly_canonical)|(VTT for |vtable for )?std::basic_(ifstream|filebuf)"
)
FILES = re.compile(r"std::filesystem::|std::basic_\w*(fstream|filebuf)")


def names(arguments, kind):
    output = subprocess.run(["nm", "-g", *arguments], capture_output=True, text=True, check=True)
    return {found.group(1) for found in re.finditer(rf"(?m) [{kind}] (.*)$", output.stdout)}


def main():
    split = sys.argv.index("--")
    libraries, objects = sys.argv[1:split], sys.argv[split + 1:]
    known = names(["--defined-only", *objects], "TW")
    called = names(["-u", *libraries], "Uw")
    unknown = {name for name in called if not name.startswith("_Z")} - known - STREAMS
    unknown = {name for name in unknown if not HARMLESS.fullmatch(name)}
    standard = {name for name in names(["-u", "-C", *libraries], "U") if FILES.match(name)}
    unknown |= {name for name in standard if not STANDARD.match(name)}
    for name in sorted(unknown):
        print(f"{name}: no fault test can make it fail; add it to SystemCalls.cpp")
    if not {"openat", "read", "write", "fopen", "renameat2"} <= known:
        unknown.add("open")
        print("the calls of the tests are missing")
    print(f"{len(called)} symbols, {len(known & called)} of them calls that can fail")
    return 1 if unknown else 0


sys.exit(main())
