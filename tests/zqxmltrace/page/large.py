# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Prints a trace of 33,334 packets, each queued, delivered and received: 100,002 events."""

import json
import random

random.seed(3)


def put(**event):
    print(json.dumps(event, separators=(",", ":")))


put(trace=1, start=1795299215588027, pid=1, program="large")
time = 0
for packet in range(1, 33335):
    time += random.randrange(1000, 300000)
    ends = {"packet": packet, "src": random.randrange(1, 6), "dst": random.choice([-1, 1, 2, 3, 4, 5])}
    types = {"src_type": 100 + ends["src"], "dst_type": 100 + ends["dst"] if ends["dst"] > 0 else 0}
    if random.random() < 0.5:
        content = {"kinds": {"action": 1}, "actions": [random.randrange(1000, 1004)]}
    else:
        content = {"kinds": {"packetable": random.randrange(1, 90)}}
    put(time=time, event="queued", **ends, **types, **content)
    put(time=time + 500, event="delivering", **ends)
    put(time=time + 900, event="delivered", **ends)
