#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Runs a program and says when its first line came, how long it took, and how much memory it held at most.

usage: measure.py PROGRAM [ARGUMENT...]
"""

import os
import subprocess
import sys
import time


def processor_time(pid):
    """Returns the seconds of processor that a process has used, user's and system's."""
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    start = time.monotonic()
    process = subprocess.Popen(sys.argv[1:], stdout=subprocess.PIPE)
    lines = 1 if process.stdout.readline() else 0
    first = time.monotonic() - start
    first_used = processor_time(process.pid)
    for _ in process.stdout:
        lines += 1
    _, status, usage = os.wait4(process.pid, 0)
    total = time.monotonic() - start
    print(f"{lines} lines, first after {first:.2f} s (processor {first_used:.2f} s), total {total:.2f} s "
          f"(processor {usage.ru_utime + usage.ru_stime:.2f} s), at most {usage.ru_maxrss / 1024:.0f} MB, "
          f"status {os.waitstatus_to_exitcode(status)}")


main()
