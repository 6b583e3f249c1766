#!/usr/bin/env python3
"""Measures what a recipe costs over Modbus TCP beside bare requests, all side by side, and holds it against marks.

usage: compare.py PROGRAM DEVICE SCRIPT
       (benchmark_modbus and modbus_device of a release build; modbus_serial.js where npm has installed modbus-serial)

Writes registers and reads them: adjacent ones and scattered ones, of which no two share a request, each with a device
that answers at once and with one that takes 1 ms for a request. The contenders take turns on the same device, and the
fastest pass of each counts. The device has a core of its own: sharing one with whoever asks, a request takes a third of
the time, and which of both it is would be the scheduler's mood. What they write is read back, what they read is compared, and the device counts their
requests. Prints a table and fails where a mark is missed.
"""

import atexit
import itertools
import math
import os
import subprocess
import sys

CONTENDERS = ("ravik", "bare", "single", "modbus-serial")
ADJACENT, SCATTERED = 1, 65
LAYOUTS = ((1_000, ADJACENT), (10_000, ADJACENT), (1_000, SCATTERED))
DELAYS_MS = (0, 1)
REGISTERS_PER_REQUEST = {"write": 123, "read": 125}

# By delay: a contender that has made so many passes and taken so long sits the remaining turns out. Without delay, the
# machine's mood counts for more.
MIN_PASSES = {0: 10, 1: 1}
SECONDS_PER_CASE = {0: 2.0, 1: 2.4}
MAX_TURNS = 200

# The marks, for writes of adjacent registers.
MAX_US_PER_SYMBOL = 1.5      # that an activation takes beyond the bare loop, without delay
MAX_RATIO_TO_BARE = 1.3      # with delay
MIN_RATIO_TO_SINGLE = 30.0


class Partner:
    """A program that answers line by line; it ends with this one."""

    def __init__(self, *command, cores=frozenset()):
        self.name = command[0]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if cores:
            os.sched_setaffinity(self.process.pid, cores)
        atexit.register(self.process.kill)

    def read(self):
        line = self.process.stdout.readline()
        if not line:
            sys.exit(f"{self.name} ended early")
        return line.rstrip("\n")

    def ask(self, *words):
        print(*words, file=self.process.stdin, flush=True)
        return self.read()


class Bench:
    """A device and the programs that talk to it."""

    def __init__(self, program, device, script, delay_ms):
        self.delay_ms = delay_ms
        first, *others = sorted(os.sched_getaffinity(0))
        self.device = Partner(device, "--port", "0", "--delay", str(delay_ms), "--count", cores=others[:1])
        port = self.device.read()
        self.native = Partner(program, port, cores=[first])
        serial = Partner("node", script, port, cores=[first])
        self.partners = dict.fromkeys(CONTENDERS, self.native) | {"modbus-serial": serial}

    def registers(self, what, layout):
        """Fills, clears or checks the registers, over a connection of its own."""
        self.native.ask(what, *layout)
        self.device.read()

    def passes(self, contender, operation, layout, count):
        answer = self.partners[contender].ask("run", contender, operation, *layout, count)
        return [float(word) for word in answer.split()]

    def requests_per_pass(self, contender, passes):
        """Ends the contender's connection; the device tells how many requests came over it."""
        self.partners[contender].ask("close", contender)
        requests = int(self.device.read().split()[0])
        if requests % passes != 0:
            sys.exit(f"{contender}: {requests} requests in {passes} passes")
        return requests // passes

    def measure(self, operation, layout):
        """Answers for each contender the requests and the milliseconds of a pass."""
        times = {contender: [] for contender in CONTENDERS}
        self.registers("fill", layout)
        for contender in CONTENDERS:
            if operation == "write":
                self.registers("clear", layout)
            times[contender] += self.passes(contender, operation, layout, 1)
            self.registers("check", layout)
        for _ in range(MAX_TURNS):
            for contender in CONTENDERS:
                own = times[contender]
                if len(own) < MIN_PASSES[self.delay_ms] or sum(own) < SECONDS_PER_CASE[self.delay_ms]:
                    own += self.passes(contender, operation, layout, 3 if own[-1] < 0.05 else 1)
        return {contender: (self.requests_per_pass(contender, len(each)), min(each) * 1e3)
                for contender, each in times.items()}


def is_kept(what, value, relation, mark):
    kept = value <= mark if relation == "<=" else value >= mark
    print(f"{'kept  ' if kept else 'MISSED'}  {what}: {value:.2f} {relation} {mark}")
    return kept


def judge(case, measured):
    """Prints how the case stands to its marks; answers whether all are kept."""
    operation, (count, step), delay = case
    name = f"{operation} {count:,} {'adjacent' if step == ADJACENT else 'scattered'}, {delay} ms"
    per_request = REGISTERS_PER_REQUEST[operation] if step == ADJACENT else 1
    expected = dict.fromkeys(CONTENDERS, math.ceil(count / per_request)) | {"single": count}
    kept = True
    for contender, (requests, _) in measured.items():
        if requests != expected[contender]:
            print(f"MISSED  {name}: {contender} sent {requests} requests instead of {expected[contender]}")
            kept = False
    if kept:
        print(f"kept    {name}: requests counted as computed")
    ravik, bare, single, _ = (ms for _, ms in measured.values())
    if operation == "write" and step == ADJACENT:
        if delay == 0:
            kept &= is_kept(f"{name}: us per symbol beyond bare", (ravik - bare) * 1e3 / count, "<=", MAX_US_PER_SYMBOL)
        else:
            kept &= is_kept(f"{name}: times bare", ravik / bare, "<=", MAX_RATIO_TO_BARE)
        kept &= is_kept(f"{name}: times faster than single", single / ravik, ">=", MIN_RATIO_TO_SINGLE)
    return kept


def print_row(case, measured):
    operation, (count, step), delay = case
    requests = [str(each) for each, _ in measured.values()]
    ravik, bare, single, serial = (ms for _, ms in measured.values())
    cells = [operation, f"{count:,} {'adjacent' if step == ADJACENT else 'scattered'}", f"{delay} ms",
             f"{requests[0]} / {requests[2]}", *(f"{ms:.2f}" for ms in (ravik, bare, single, serial)),
             f"{ravik / bare:.2f}", f"{(ravik - bare) * 1e3 / count:.2f}", f"{single / ravik:.1f}",
             f"{serial / ravik:.1f}"]
    print("| " + " | ".join(cells) + " |", flush=True)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    print("| operation | registers | delay | requests (single) | ravik ms | bare ms | single ms | modbus-serial ms "
          "| ravik / bare | (ravik - bare) / symbol, us | single / ravik | modbus-serial / ravik |")
    print("|" + "---|" * 12, flush=True)
    results = []
    for delay in DELAYS_MS:
        bench = Bench(*sys.argv[1:], delay)
        for layout, operation in itertools.product(LAYOUTS, ("write", "read")):
            results.append(((operation, layout, delay), bench.measure(operation, layout)))
            print_row(*results[-1])
    print()
    kept = [judge(*result) for result in results]
    return 0 if all(kept) else 1


if __name__ == "__main__":
    sys.exit(main())
