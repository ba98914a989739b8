"""Starts, watches and ends child processes, and measures the resources that they use."""

import os
import subprocess
import sys
import time

POLL_SECONDS = 0.02


class Failure(Exception):
    """A measurement is impossible. The message gives the reason."""


def wait_until(condition, seconds, what):
    """Polls until `condition()` returns a true value, and returns that value. Raises Failure after `seconds`."""
    deadline = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise Failure(f"no sign of {what} within {seconds:g} s")
        time.sleep(POLL_SECONDS)


class Child:
    """A child process whose output goes to a file. Use it in a `with` statement."""

    def __init__(self, command, environment, log_path, **options):
        self.log_path = log_path
        self._log = open(log_path, "ab")
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", self._log)
        self.started_at = time.monotonic() * 1000
        self.process = subprocess.Popen(
            command, env=environment, stderr=self._log, **options)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    @property
    def pid(self):
        return self.process.pid

    def is_running(self):
        return self.process.poll() is None

    def end(self):
        if self.is_running():
            self.process.terminate()
            try:
                self.process.wait(5)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        for stream in (self.process.stdin, self.process.stdout):
            if stream:
                stream.close()
        self._log.close()

    def last_words(self):
        with open(self.log_path, errors="replace") as log:
            return "".join(log.readlines()[-8:])


def _stat_fields(pid):
    """Returns the fields of /proc/PID/stat from the third (state) on.

    The program's name precedes these fields and can contain any character."""
    with open(f"/proc/{pid}/stat") as stat:
        return stat.read().rpartition(")")[2].split()


def family(pid):
    """Returns the process and all its descendants."""
    children = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                children.setdefault(int(_stat_fields(entry)[1]), []).append(int(entry))
            except OSError:
                pass  # the process has just exited
    members = [pid]
    for member in members:
        members.extend(children.get(member, []))
    return members


def busy_loop(core, environment, folder):
    """Starts a process that uses as much of a processor core as it gets."""
    code = f"import os; os.sched_setaffinity(0, {{{core}}})\nwhile True: pass"
    return Child([sys.executable, "-c", code], environment, f"{folder}/busy.log")


def cpu_seconds(pid):
    """Returns the CPU time that the process, its threads and its descendants have used so far."""
    ticks = 0
    for member in family(pid):
        try:
            fields = _stat_fields(member)
            ticks += int(fields[11]) + int(fields[12])  # utime, stime
        except OSError:
            pass
    return ticks / os.sysconf("SC_CLK_TCK")


def _kilobytes(path, key):
    with open(path) as lines:
        for line in lines:
            if line.startswith(key + ":"):
                return int(line.split()[1])
    return 0


def memory_megabytes(pid):
    """Returns the resident and the proportional memory of a process and its descendants, in MiB.

    In the proportional memory, each shared page is divided among the processes that share it."""
    members = family(pid)
    resident = sum(_kilobytes(f"/proc/{member}/status", "VmRSS") for member in members)
    proportional = sum(_kilobytes(f"/proc/{member}/smaps_rollup", "Pss") for member in members)
    return resident / 1024, proportional / 1024


def machine_busy_share(seconds):
    """Measures for `seconds` and returns the share of CPU time in use, from 0 to 1, averaged over all cores."""
    def totals():
        with open("/proc/stat") as stat:
            times = [int(field) for field in stat.readline().split()[1:9]]
        return sum(times), times[3] + times[4]  # total; idle and waiting for I/O

    all_before, idle_before = totals()
    time.sleep(seconds)
    all_after, idle_after = totals()
    return 1 - (idle_after - idle_before) / max(all_after - all_before, 1)
