#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Prints the table of ratios with goals and verdicts.

usage: table.py [--instr] QT6 QT5

QT6 and QT5 are folders of one Qt version each. They hold the benchmarks' JSON files, of which the medians of CPU time
are compared; with --instr, the files that callgrind dumped, one a benchmark.
"""

import glob
import json
import math
import re
import sys

VERSIONS = (6, 5)
FIELDS = 40  # of an item
CALLGRIND_ITERATIONS = 10


def read_times(folder):
    """Returns {benchmark: {"time": nanoseconds, counter: number}}."""
    results = {}
    for path in glob.glob(folder + "/*.json"):
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        for run in runs:
            if run.get("aggregate_name") == "median":
                unit = {"ns": 1, "us": 1e3}[run["time_unit"]]
                name = run["run_name"].replace("/process_time", "")
                results[name] = dict(run, time=run["cpu_time"] * unit)
    return results


def read_instructions(folder):
    """Returns {benchmark: {"time": instructions}}."""
    results = {}
    for path in glob.glob(folder + "/callgrind.out.*"):
        with open(path, encoding="utf-8") as file:
            text = file.read()
        name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.M)
        if name:
            count = int(re.search(r"^summary: (\d+)", text, re.M).group(1))
            results[name.group(1)] = {"time": count / CALLGRIND_ITERATIONS}
    return results


def ratio(over, under, counter="time"):
    return lambda results: results[over][counter] / results[under][counter]


def extra_allocations(path, items):
    """Allocations a field beyond the floor's, which is charged with the names that it was given."""
    def value(results):
        floor = results[f"{path}/floor/{items}"]
        extra = results[f"{path}/ours/{items}"]["allocations"] - floor["allocations"] - floor["names_allocations"]
        return extra / (items * FIELDS)
    return value


def live_bytes(path, items):
    def value(results):
        floor = results[f"{path}/floor/{items}"]
        return results[f"{path}/ours/{items}"]["live_bytes"] / (floor["live_bytes"] + floor["names_live_bytes"])
    return value


def growth(path):
    """The x of a cost that grows as N to the x, from 16 to 4096 items."""
    def value(results):
        times = ratio(f"{path}/ours/4096", f"{path}/ours/16")(results)
        return math.log(times) / math.log(4096 / 16)
    return value


def microseconds(name):
    return lambda results: results[name]["time"] / 1e3


def at_most(limit):
    return "<=", (limit, limit)


def at_least(limit, limit_of_qt5=None):
    return ">=", (limit, limit_of_qt5 or limit)


def rows_of_sending(counts):
    for count in counts:
        queue = f", queue of {count}"
        for path, where in (("sendHead", "head"), ("sendTail", "tail")):
            ours = f"{path}/ours/{count}"
            yield f"send, differ at {where}{queue}: of no test", at_most(3.5), ratio(ours, f"{path}/untested/{count}")
            yield "  of QtDBus", at_most(1 / 25), ratio(ours, f"send/qtdbus/{count}")
            yield f"  times as fast as text", at_least(40), ratio(f"{path}/plain/{count}", ours)
        yield (f"send, differ in the middle{queue}: of text", at_most(0.35),
               ratio(f"sendMiddle/ours/{count}", f"sendMiddle/plain/{count}"))


def rows_of_times():
    for n in (1, 16):
        ours, floor, plain = (f"setData/{form}/{n}" for form in ("ours", "floor", "plain"))
        yield f"record to XML, N = {n}: of the floor", at_most(1.20), ratio(ours, floor)
        yield "  times as fast as plain", at_least(1.35, 1.8), ratio(plain, ours)
        yield "  allocations a field beyond the floor", at_most(0.3), extra_allocations("setData", n)
        yield "  live bytes, of the floor", at_most(1.01), live_bytes("setData", n)
    yield "  grows as N to the", at_most(1.1), growth("setData")
    for n in (1, 16):
        ours, floor, plain = (f"toPacket/{form}/{n}" for form in ("ours", "floor", "plain"))
        yield f"XML to text, N = {n}: of the floor", at_most(1.35), ratio(ours, floor)
        yield "  times as fast as plain", at_least(2.2), ratio(plain, ours)
    yield "  grows as N to the", at_most(1.1), growth("toPacket")
    for size in (1, 64):
        yield f"equal packets, {size} KB: of text", at_most(0.40), ratio(f"equal/ours/{size}", f"equal/plain/{size}")
    for path, where in (("differentHeader", "header"), ("differentLast", "last value")):
        for size in (1, 64, 1024):
            yield f"packets differ in {where}, {size} KB: us", at_most(1.0), microseconds(f"{path}/ours/{size}")
    yield from rows_of_sending((10, 1000))
    yield from rows_of_objects()
    yield "whole road: conversion, of the floor", at_most(1.20), ratio("road/conversion/ours/1000",
                                                                       "road/conversion/floor/1000")
    yield "  rebuilding, of the floor", at_most(1.35), ratio("road/rebuilding/ours/1000", "road/rebuilding/floor/1000")
    yield "  routing, of no test", at_most(3.5), ratio("road/routing/ours/1000", "road/routing/untested/1000")


def rows_of_objects():
    yield "20 properties: of the floor", at_most(1.25), ratio("properties/ours/20", "properties/floor/20")
    yield "  times as fast as plain", at_least(1.6), ratio("properties/plain/20", "properties/ours/20")
    yield "constructing an object: of the floor", at_most(1.15), ratio("object/ours/1", "object/floor/1")


def rows_of_instructions():
    for n in (1, 16):
        yield f"record to XML, N = {n}: of the floor", at_most(1.15), ratio(f"setData/ours/{n}", f"setData/floor/{n}")
        yield "  times as fast as plain", at_least(1.35, 1.8), ratio(f"setData/plain/{n}", f"setData/ours/{n}")
    for n in (1, 16):
        yield f"XML to text, N = {n}: of the floor", at_most(1.35), ratio(f"toPacket/ours/{n}", f"toPacket/floor/{n}")
        yield "  times as fast as plain", at_least(2.2), ratio(f"toPacket/plain/{n}", f"toPacket/ours/{n}")
    for size in (1, 64):
        yield f"equal packets, {size} KB: of text", at_most(0.40), ratio(f"equal/ours/{size}", f"equal/plain/{size}")
    yield from (row for row in rows_of_sending((10,)) if "QtDBus" not in row[0])
    yield from rows_of_objects()


def print_table(rows, results):
    print(f"{'path':48}{'goal':>12}" + "".join(f"{f'Qt {v}':>9} {'':6}" for v in VERSIONS))
    missed = 0
    for label, (sign, limits), value in rows:
        goal = " / ".join(f"{limit:.4g}" for limit in dict.fromkeys(limits))
        line = f"{label:48}{sign + ' ' + goal:>12}"
        for result, limit in zip(results, limits):
            number = value(result)
            holds = number <= limit if sign == "<=" else number >= limit
            missed += not holds
            line += f"{number:9.3f} {'holds' if holds else 'MISSES':6}"
        print(line)
    print(f"{missed} missed" if missed else "all goals hold")


def print_forms(results, paths, unit):
    """Prints what each form costs, divided by what the path's last part counts."""
    for title, path, forms, size, divisor in paths:
        for form in forms:
            name = f"{path}/{form}/{size}"
            if name not in results[0]:
                continue
            line = f"{title + ', ' + form:48}{'':12}"
            for result in results:
                line += f"{result[name]['time'] / divisor:9.0f} {unit:6}"
            print(line)


def print_road(results):
    parts = ("query", "conversion", "routing", "rebuilding")
    whole = [result["road/whole/ours/1000"]["time"] for result in results]
    for part in parts + ("whole",):
        line = f"{'1,000 jobs, ' + part:48}{'':12}"
        for result, total in zip(results, whole):
            time = result[f"road/{part}/ours/1000"]["time"]
            line += f"{time / 1e6:6.1f} ms {100 * time / total:4.0f} %"
        print(line)


def main():
    arguments = sys.argv[1:]
    instructions = arguments[:1] == ["--instr"]
    folders = arguments[instructions:]
    results = [read_instructions(folder) if instructions else read_times(folder) for folder in folders]
    peers = ("ours", "floor", "plain", "pugixml", "libxml2")
    unit = "instr" if instructions else "ns"
    print_table(rows_of_instructions() if instructions else rows_of_times(), results)
    print()
    print_forms(results, [
        ("record to XML, a field", "setData", peers, 16, 16 * FIELDS),
        ("XML to text, a field", "toPacket", peers[:3], 16, 16 * FIELDS),
        ("equal packets of 1 KB", "equal", peers[:3], 1, 1),
        ("send a packet, queue of 10", "sendTail", ("ours", "untested", "plain"), 10, 10),
        ("send a packet, queue of 10", "send", ("qtdbus", "zeromq", "invokemethod"), 10, 10),
        ("20 properties", "properties", peers[:3], 20, 1),
        ("an object", "object", peers[:2], 1, 1),
    ], unit)
    if not instructions:
        print()
        print_road(results)


main()
