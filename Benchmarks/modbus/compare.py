#!/usr/bin/env python3
"""Measures what a recipe costs over Modbus TCP beside bare requests, all side by side, and holds it against marks.

usage: compare.py PROGRAM DEVICE SCRIPT PYMODBUS_DEVICE
       (benchmark_modbus and modbus_device of a release build; modbus_serial.js where npm has installed modbus-serial;
       pymodbus_device.py)

Writes registers and reads them: adjacent ones and scattered ones, of which no two share a request, each with a device
that answers at once and with one that takes 1 ms for a request. The contenders take turns on the same device, and the
fastest pass of each counts. The device has a core of its own: sharing one with whoever asks, a request takes a third of
the time, and which of both it is would be the scheduler's mood. What they write is read back, what they read is compared, and the
device counts their requests.

Then scattered registers over a line of 1 ms latency, with one request and with several under way at once, to that
device and to one on pymodbus. Prints tables and fails where a mark is missed.
"""

import atexit
import itertools
import math
import os
import subprocess
import sys

CONTENDERS = ("ravik", "bare", "single", "modbus-serial")
LINE_CONTENDERS = ("ravik", "ravik-8", "bare")
ADJACENT, SCATTERED = 1, 65
LAYOUTS = ((1_000, ADJACENT), (10_000, ADJACENT), (1_000, SCATTERED))
DELAYS_MS = (0, 1)
OPERATIONS = ("write", "read")
LINE_LAYOUT = (200, SCATTERED)
LINE_MS = 1
REGISTERS_PER_REQUEST = {"write": 123, "read": 125}

# By delay: a contender that has made so many passes and taken so long sits the remaining turns out. Without delay, the
# machine's mood counts for more.
MIN_PASSES = {0: 10, 1: 1}
SECONDS_PER_CASE = {0: 2.0, 1: 2.4}
MAX_TURNS = 200

# The marks, for adjacent registers.
MAX_US_PER_SYMBOL = 0.25     # that a recipe of 10,000 takes beyond the bare loop, without delay
MAX_RATIO_TO_SERIAL = 1.0    # of 10,000 as well, without delay
MAX_RATIO_TO_BARE = 1.3      # of writes, with delay
MIN_RATIO_TO_SINGLE = 30.0   # of writes

# The marks, for a line of 1 ms latency.
MAX_LINE_RATIO_TO_BARE = 1.05
MIN_LINE_RATIO_AT_ONCE = 6.0


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

    def __init__(self, device, program, script, contenders, delay_ms):
        self.delay_ms = delay_ms
        self.contenders = contenders
        self.counts = "--count" in device
        first, *others = sorted(os.sched_getaffinity(0))
        self.device = Partner(*device, cores=others[:1])
        port = self.device.read()
        self.partners = dict.fromkeys(contenders, Partner(program, port, cores=[first]))
        self.native = self.partners["bare"]
        if "modbus-serial" in contenders:
            self.partners["modbus-serial"] = Partner("node", script, port, cores=[first])

    def registers(self, what, layout):
        """Fills, clears or checks the registers, over a connection of its own."""
        self.native.ask(what, *layout)
        if self.counts:
            self.device.read()

    def passes(self, contender, operation, layout, count):
        answer = self.partners[contender].ask("run", contender, operation, *layout, count)
        return [float(word) for word in answer.split()]

    def requests_per_pass(self, contender, passes):
        """Ends the contender's connection; the device tells how many requests came over it."""
        self.partners[contender].ask("close", contender)
        if not self.counts:
            return None
        requests = int(self.device.read().split()[0])
        if requests % passes != 0:
            sys.exit(f"{contender}: {requests} requests in {passes} passes")
        return requests // passes

    def measure(self, operation, layout):
        """Answers for each contender the requests and the milliseconds of a pass."""
        times = {contender: [] for contender in self.contenders}
        self.registers("fill", layout)
        for contender in self.contenders:
            if operation == "write":
                self.registers("clear", layout)
            times[contender] += self.passes(contender, operation, layout, 1)
            self.registers("check", layout)
        for _ in range(MAX_TURNS):
            for contender in self.contenders:
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
    ravik, bare, single, serial = (ms for _, ms in measured.values())
    if (count, step, delay) == (10_000, ADJACENT, 0):
        kept &= is_kept(f"{name}: us per symbol beyond bare", (ravik - bare) * 1e3 / count, "<=", MAX_US_PER_SYMBOL)
        kept &= is_kept(f"{name}: times modbus-serial", ravik / serial, "<=", MAX_RATIO_TO_SERIAL)
    if operation == "write" and step == ADJACENT:
        if delay > 0:
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


def judge_line(device, operation, measured):
    """Answers whether the marks of a line that takes time are kept."""
    name = f"{operation} {LINE_LAYOUT[0]:,} scattered over a line of {LINE_MS} ms to {device}"
    one, several, bare = (ms for _, ms in measured.values())
    requests = {each for each, _ in measured.values()}
    kept = requests <= {LINE_LAYOUT[0], None}
    if not kept:
        print(f"MISSED  {name}: {requests} requests")
    kept &= is_kept(f"{name}: times bare", one / bare, "<=", MAX_LINE_RATIO_TO_BARE)
    return is_kept(f"{name}, 8 at once: times faster than bare", bare / several, ">=", MIN_LINE_RATIO_AT_ONCE) and kept


def compare_recipes(program, device, script):
    print("| operation | registers | delay | requests (single) | ravik ms | bare ms | single ms | modbus-serial ms "
          "| ravik / bare | (ravik - bare) / symbol, us | single / ravik | modbus-serial / ravik |")
    print("|" + "---|" * 12, flush=True)
    results = []
    for delay in DELAYS_MS:
        bench = Bench([device, "--port", "0", "--delay", str(delay), "--count"], program, script, CONTENDERS, delay)
        for layout, operation in itertools.product(LAYOUTS, OPERATIONS):
            results.append(((operation, layout, delay), bench.measure(operation, layout)))
            print_row(*results[-1])
    print()
    return all([judge(*result) for result in results])


def compare_requests_at_once(program, devices):
    print("\n| device | operation | bare ms | ravik ms | ravik, 8 at once, ms | ravik / bare | bare / ravik, 8 at once |")
    print("|" + "---|" * 7, flush=True)
    results = []
    for (name, device), operation in itertools.product(devices.items(), OPERATIONS):
        measured = Bench(device, program, None, LINE_CONTENDERS, LINE_MS).measure(operation, LINE_LAYOUT)
        results.append((name, operation, measured))
        one, several, bare = (ms for _, ms in measured.values())
        print(f"| {name} | {operation} | {bare:.2f} | {one:.2f} | {several:.2f} | {one / bare:.2f} | "
              f"{bare / several:.1f} |", flush=True)
    print()
    return all([judge_line(*result) for result in results])


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    program, device, script, pymodbus_device = sys.argv[1:]
    kept = compare_recipes(program, device, script)
    # Debian's own interpreter: it is the one that finds Debian's pymodbus.
    kept &= compare_requests_at_once(program, {
        "modbus_device": [device, "--port", "0", "--latency", str(LINE_MS), "--count"],
        "pymodbus": ["/usr/bin/python3", pymodbus_device, "65536", str(LINE_MS)],
    })
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
