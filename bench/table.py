#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Prints the tables of ratios with goals and verdicts.

usage: table.py FOLDER...

Each folder is a column. Its results/ holds what callgrind dumped, one file a benchmark, or what the benchmark program
wrote as JSON, or both; its title is its name. Verdicts come from instructions and allocations where those can say it.
Where only times can, a row whose spread is larger than its distance from the goal is unsure.
"""

import glob
import json
import math
import os
import re
import statistics
import sys

FIELDS = 40  # of an item
LABEL = 45
WIDTHS = {"instructions": 15, "counters": 15, "times": 18}


class Column:
    """What one build did with one hash seed: numbers by the names of benchmarks."""

    def __init__(self, folder):
        self.title = os.path.basename(folder).replace("seed drawn", "drawn")
        self.instructions = read_instructions(folder)
        self.times, self.counters = read_times(folder)


def read_instructions(folder):
    """Returns {benchmark: [instructions of an iteration]}."""
    results = {}
    for path in glob.glob(folder + "/callgrind.out.*"):
        with open(path, encoding="utf-8") as file:
            text = file.read()
        name = re.search(r"^desc: Trigger: Client Request: (.*) (\d+)$", text, re.M)
        if name:
            total = int(re.search(r"^(?:summary|totals): (\d+)", text, re.M).group(1))
            results[name.group(1)] = [total / int(name.group(2))]
    return results


def read_times(folder):
    """Returns {benchmark: [nanoseconds of each repetition]} and {benchmark: {counter: number}}."""
    times, counters = {}, {}
    for path in glob.glob(folder + "/*.json"):
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        for run in runs:
            if run["run_type"] == "iteration":
                unit = {"ns": 1, "us": 1e3, "ms": 1e6}[run["time_unit"]]
                name = re.sub(r"/(process_time|iterations:1|manual_time)", "", run["run_name"])
                clock = "real_time" if "manual_time" in run["run_name"] else "cpu_time"
                times.setdefault(name, []).append(run[clock] * unit)
                counters[name] = run
    return times, counters


def ratio(over, under):
    """Compares two benchmarks, repetition by repetition."""
    def values(numbers):
        return [a / b for a, b in zip(numbers[over], numbers[under])]
    return values


def growth(path, sizes):
    """The x of a cost that grows as N to the x between two sizes."""
    def values(numbers):
        return [math.log(large / small) / math.log(sizes[1] / sizes[0])
                for small, large in zip(numbers[f"{path}/{sizes[0]}"], numbers[f"{path}/{sizes[1]}"])]
    return values


def per(name, divisor):
    return lambda numbers: [value / divisor for value in numbers[name]]


def added(over, without, under=None, divisor=1):
    """What a benchmark takes more than another, as a part of a third, or divided."""
    def values(numbers):
        of = numbers[under] if under else [divisor] * len(numbers[over])
        return [(a - b) / c for a, b, c in zip(numbers[over], numbers[without], of)]
    return values


def added_allocations(over, without, divisor):
    def values(counters):
        return [(counters[over]["allocations"] - counters[without]["allocations"]) / divisor]
    return values


def extra_allocations(path, items):
    """Allocations a field beyond the floor's, which is charged with the names that it was given."""
    def values(counters):
        floor = counters[f"{path}/floor/{items}"]
        extra = counters[f"{path}/ours/{items}"]["allocations"] - floor["allocations"] - floor["names_allocations"]
        return [extra / (items * FIELDS)]
    return values


def live_bytes(path, items):
    def values(counters):
        floor = counters[f"{path}/floor/{items}"]
        return [counters[f"{path}/ours/{items}"]["live_bytes"] / (floor["live_bytes"] + floor["names_live_bytes"])]
    return values


def at_most(limit):
    return lambda value: limit - value, f"<= {limit:.4g}"


def at_least(limit):
    return lambda value: value - limit, f">= {limit:.4g}"


def rows_of_records():
    for n in (1, 16):
        yield (f"record to XML, N = {n}: of the floor", at_most(1.15),
               ratio(f"setData/ours/{n}", f"setData/floor/{n}"))
    yield "  grows as N to the", at_most(1.1), growth("setData/ours", (16, 64))
    for n in (1, 16):
        ours, floor, plain = (f"toPacket/{form}/{n}" for form in ("ours", "floor", "plain"))
        yield f"XML to text, N = {n}: of the floor", at_most(1.35), ratio(ours, floor)
        yield "  times as fast as plain", at_least(2.2), ratio(plain, ours)
    yield "  grows as N to the", at_most(1.1), growth("toPacket/ours", (16, 64))


def rows_of_packets():
    for size in (1, 64):
        yield f"equal packets, {size} KB: of text", at_most(0.4), ratio(f"equal/ours/{size}", f"equal/plain/{size}")
        yield "  of the bare walk", at_most(1.5), ratio(f"equal/ours/{size}", f"equal/floor/{size}")
    for path, where in (("differentHeader", "head"), ("differentLast", "tail")):
        yield (f"packets differ at {where}, 1 KB: of the walk", at_most(0.1),
               ratio(f"{path}/ours/1", "equal/floor/1"))
        yield "  64 KB: of 1 KB", at_most(1.1), ratio(f"{path}/ours/64", f"{path}/ours/1")
    yield "destroying 10 actions: of the bare document", at_most(1.1), ratio("destroy/ours/10", "destroy/floor/10")


def rows_of_sending():
    for count, limit in ((10, 2.0), (1000, 3.5)):
        for path, where in (("sendHead", "head"), ("sendTail", "tail")):
            ours = f"{path}/ours/{count}"
            yield (f"send, {where} differs, queue of {count}: of no test", at_most(limit),
                   ratio(ours, f"{path}/untested/{count}"))
            if count == 10:
                yield "  times as fast as text", at_least(40), ratio(f"{path}/plain/{count}", ours)
    yield "send, middle differs, queue of 10: of text", at_most(0.35), ratio("sendMiddle/ours/10", "sendMiddle/plain/10")


def rows_of_objects():
    yield "20 properties: of the floor", at_most(1.25), ratio("properties/ours/20", "properties/floor/20")
    yield "constructing an object: of the floor", at_most(1.15), ratio("object/ours/1", "object/floor/1")


def rows_of_road(jobs):
    for part, other, limit in (("conversion", "floor", 1.2), ("rebuilding", "floor", 1.35),
                               ("routing", "untested", 3.5)):
        yield (f"{jobs} jobs, {part}: of {'no test' if other == 'untested' else 'the floor'}", at_most(limit),
               ratio(f"road/{part}/ours/{jobs}", f"road/{part}/{other}/{jobs}"))


def rows_of_wire(largest):
    sizes = ((300, "300 B"), (6144, "6 KB"), (largest, f"{largest // 1024} KB"))
    for size, name in sizes:
        yield (f"packet to wire, {name}: of printing it", at_most(0.5),
               ratio(f"toWire/ours/{size}", f"toWire/plain/{size}"))
    for size, name in sizes:
        ours = f"fromWire/ours/{size}"
        yield f"wire to packet, {name}: of setContent()", at_most(1.15), ratio(ours, f"fromWire/plain/{size}")
        yield "  of the floor", at_most(1.6), ratio(ours, f"fromWire/floor/{size}")
    for shape in ("nodes", "levels", "attributes"):
        yield f"packet to wire grows with {shape} to the", at_most(1.1), growth(f"toWire/{shape}", (400, 1600))
        yield f"wire to packet grows with {shape} to the", at_most(1.1), growth(f"fromWire/{shape}", (400, 1600))


def rows_of_asking():
    yield "request and reply: of a bare send and answer", at_most(2.0), ratio("ask/ours/1", "ask/plain/1")
    yield "record by names: of reading it by tags", at_most(1.5), ratio("fields/ours/40", "fields/plain/40")


def rows_of_tracing(events):
    yield ("recording with bodies: added, of encoding", at_most(1.2),
           added("record/bodies/10", "record/none/10", "record/encoding/10"))
    yield (f"statistics, {events:,} events: of bare JSON", at_most(4),
           ratio(f"trace/statistics/{events}", f"trace/lines/{events}"))
    yield "  grow with events to the", at_most(1.1), growth("trace/statistics", (1000, events))


def rows_of_views():
    for label, limit, path in (("update of 1 of 1,000 actions: of rebuilding", 0.05, "actionUpdate"),
                               ("1,000 actions, first time: of QActions", 2, "actionsFirst")):
        yield label, at_most(limit), ratio(f"{path}/ours/1000", f"{path}/plain/1000")


def counted_rows():
    for rows in (rows_of_records(), rows_of_packets(), rows_of_sending(), rows_of_objects(), rows_of_road(100),
                 rows_of_wire(64 * 1024), rows_of_asking(), rows_of_tracing(10000), rows_of_views()):
        yield from rows


def memory_rows():
    for n in (1, 16):
        yield f"record to XML, N = {n}: allocations a field", at_most(0.3), extra_allocations("setData", n)
        yield "  live bytes, of the floor", at_most(1.01), live_bytes("setData", n)
    yield ("recording headers: allocations a packet", at_most(1),
           added_allocations("record/headers/10", "record/none/10", 10))


def timed_rows():
    """What instructions cannot say: who waits for the system, and for memory."""
    for count in (10, 1000):
        for path, where in (("sendHead", "head"), ("sendTail", "tail")):
            yield (f"send, {where} differs, queue of {count}: of QtDBus", at_most(0.04),
                   ratio(f"{path}/ours/{count}", f"send/qtdbus/{count}"))
    yield "longest turn in pages: of converting one", at_most(1.5), ratio("turn/ours/100", "turn/page/100")
    yield ("recording headers: microseconds a packet", at_most(1.5),
           added("record/headers/10", "record/none/10", divisor=10 * 1e3))
    yield "page of 100,000 events, written: seconds", at_most(3), per("trace/page/100000", 1e9)
    for part in ("setData", "toPacket"):
        yield f"{part}, 4096 items: of the floor", at_most(1.35), ratio(f"{part}/ours/4096", f"{part}/floor/4096")


def context_rows():
    """The counted rows in times."""
    for rows in (rows_of_records(), rows_of_packets(), rows_of_sending(), rows_of_objects(), rows_of_road(1000),
                 rows_of_wire(1024 * 1024), rows_of_asking(), rows_of_tracing(100000)):
        for label, _, values in rows:
            yield label, None, values


def half_spread(values):
    """Half the distance between the quartiles."""
    if len(values) < 3:
        return 0
    low, _, high = statistics.quantiles(values, n=4)
    return (high - low) / 2


def verdict_of(goal, value, spread):
    if not goal:
        return ""
    distance = goal[0](value)
    if abs(distance) < spread:
        return "unsure"
    return "holds" if distance >= 0 else "MISSES"


class Table:
    """Prints rows of one kind of numbers, and counts what they come to."""

    def __init__(self, columns, kind):
        self.columns = [column for column in columns if getattr(column, kind)]
        self.kind = kind
        self.total = {}

    def print(self, title, rows):
        if not self.columns:
            return
        width = WIDTHS[self.kind]
        print(f"{title:{LABEL}}{'goal':>8}" + "".join(f"{column.title:>{width}}" for column in self.columns))
        for label, goal, values in rows:
            cells = [self.cell(values, goal, column) for column in self.columns]
            if any(cells):
                print(f"{label:{LABEL}}{goal[1] if goal else '':>8}" + "".join(f"{cell:>{width}}" for cell in cells))
        print(", ".join(f"{count} {verdict}" for verdict, count in sorted(self.total.items()) if verdict))
        print()

    def cell(self, values, goal, column):
        try:
            numbers = values(getattr(column, self.kind))
        except KeyError:
            return ""
        value, spread = statistics.median(numbers), half_spread(numbers)
        verdict = verdict_of(goal, value, spread)
        self.total[verdict] = self.total.get(verdict, 0) + 1
        return f"{value:.2f}" + (f" ±{spread:.2f}" if len(numbers) > 1 else "") + f" {verdict:6}".rstrip()


def print_forms(columns, kind, unit):
    """Prints what each form costs, divided by what the path's last part counts."""
    columns = [column for column in columns if getattr(column, kind)]
    for title, path, forms, size, divisor in (
            ("record to XML, a field", "setData", ("ours", "floor", "plain", "pugixml", "libxml2"), 16, 16 * FIELDS),
            ("XML to text, a field", "toPacket", ("ours", "floor", "plain"), 16, 16 * FIELDS),
            ("equal packets of 1 KB", "equal", ("ours", "floor", "plain"), 1, 1),
            ("packets that differ at the tail", "differentLast", ("ours",), 1, 1),
            ("destroying 10 actions", "destroy", ("ours", "floor"), 10, 1),
            ("send a packet, queue of 10", "sendTail", ("ours", "untested", "plain"), 10, 10),
            ("send a packet, queue of 1000", "sendTail", ("ours", "untested"), 1000, 1000),
            ("send a packet, queue of 10", "send", ("qtdbus", "zeromq", "invokemethod"), 10, 10),
            ("20 properties", "properties", ("ours", "floor", "plain"), 20, 1),
            ("an object", "object", ("ours", "floor"), 1, 1),
            ("6 KB to wire", "toWire", ("ours", "plain", "pugixml", "libxml2"), 6144, 1),
            ("6 KB from wire", "fromWire", ("ours", "floor", "plain", "pugixml", "libxml2", "expat"), 6144, 1),
            ("a request and its reply", "ask", ("ours", "plain"), 1, 1),
            ("40 fields of a record", "fields", ("ours", "plain"), 40, 1),
            ("sending a packet, recorded", "record", ("none", "headers", "bodies", "encoding"), 10, 10)):
        for form in forms:
            name = f"{path}/{form}/{size}"
            found = [getattr(column, kind).get(name) for column in columns]
            if any(found):
                cells = [f"{statistics.median(values) / divisor:.0f} {unit}" if values else "" for values in found]
                print(f"{title + ', ' + form:{LABEL + 8}}" + "".join(f"{cell:>{WIDTHS[kind]}}" for cell in cells))
    print()


def print_road(columns):
    columns = [column for column in columns if "road/whole/ours/1000" in column.times]
    if not columns:
        return
    for part in ("query", "conversion", "routing", "rebuilding", "whole"):
        cells = []
        for column in columns:
            time, whole = (statistics.median(column.times[f"road/{name}/ours/1000"]) for name in (part, "whole"))
            cells.append(f"{time / 1e6:.1f} ms {100 * time / whole:3.0f} %")
        print(f"{'1,000 jobs, ' + part:{LABEL + 8}}" + "".join(f"{cell:>{WIDTHS['times']}}" for cell in cells))


def main():
    columns = [Column(folder) for folder in sys.argv[1:]]
    Table(columns, "instructions").print("instructions", counted_rows())
    print_forms(columns, "instructions", "instr")
    Table(columns, "counters").print("memory", memory_rows())
    Table(columns, "times").print("times that count", timed_rows())
    Table(columns, "times").print("times beside the instructions", context_rows())
    print_forms(columns, "times", "ns")
    print_road(columns)


main()
