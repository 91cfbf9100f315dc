"""Runs a command with little memory and prints what it took, as JSON

    bounded.py MEGABYTES SECONDS FOLDER COMMAND...

SECONDS after its start the command gets a Ctrl-C; 0 for none. A process of its own, because a child's
peak of memory is never less than what its parent held when it was started.
"""
import json
import os
import resource
import signal
import sys
import time

LONGEST = 60  # seconds; then the command hangs


def limit(megabytes, folder):
    os.chdir(folder)
    resource.setrlimit(resource.RLIMIT_AS, (megabytes << 20, megabytes << 20))
    with open("/dev/null", "r+b") as nothing, open("out.txt", "wb") as out, open("err.txt", "wb") as err:
        os.dup2(nothing.fileno(), 0)
        os.dup2(out.fileno(), 1)
        os.dup2(err.fileno(), 2)


def catchesInterrupts(process):
    """Whether the program has come so far; before that, a Ctrl-C would simply end it."""
    with open(f"/proc/{process}/status") as status:
        caught = next(line for line in status if line.startswith("SigCgt:"))
    return int(caught.split()[1], 16) >> (signal.SIGINT - 1) & 1 or process in ended()


def ended():
    """Children that have ended, and are left to be waited for."""
    found = os.waitid(os.P_ALL, 0, os.WEXITED | os.WNOHANG | os.WNOWAIT)
    return [found.si_pid] if found else []


def main():
    megabytes, wait, folder, *command = sys.argv[1:]
    start = time.monotonic()
    child = os.fork()
    if child == 0:
        limit(int(megabytes), folder)
        os.execv(command[0], command)
    asked = None
    signal.signal(signal.SIGALRM, lambda *_: os.kill(child, signal.SIGKILL))
    signal.alarm(LONGEST)
    if float(wait):
        while not catchesInterrupts(child):
            time.sleep(0.01)
        time.sleep(float(wait))
        asked = time.monotonic()
        os.kill(child, signal.SIGINT)
    _, status, usage = os.wait4(child, 0)
    end = time.monotonic()
    json.dump({"code": os.waitstatus_to_exitcode(status), "kilobytes": usage.ru_maxrss,
               "seconds": end - start, "processor": usage.ru_utime + usage.ru_stime,
               "afterwards": None if asked is None else end - asked}, sys.stdout)


if __name__ == "__main__":
    main()
