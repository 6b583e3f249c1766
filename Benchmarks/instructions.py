#!/usr/bin/env python3
"""Counts the instructions of one activation per symbol and compares them with the least that it must do.

usage: instructions.py PROGRAM      (benchmark_activate_recipe_instructions of a release build)

Prints a table and fails where an activation of 10,000 symbols takes more than 1.1 times as much per symbol as one of
100, or more than 5 times as much as appending the same commands to a group.
"""

import re
import subprocess
import sys

MAX_GROWTH = 1.1
MAX_OVERHEAD = 5.0
FEW, MANY = 100, 10_000


def instructions_per_symbol(program, what, symbols, domains):
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", "--collect-atstart=no",
               "--toggle-collect=measured_activation", "--toggle-collect=measured_append",
               program, what, str(symbols), str(domains)]
    run = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False)
    collected = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or not collected or int(collected[1]) == 0:
        sys.exit(f"{' '.join(command)} failed:\n{run.stderr}")
    return int(collected[1]) / symbols


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    program = sys.argv[1]
    append = instructions_per_symbol(program, "append", MANY, 1)
    print(f"{'instructions per symbol':28}{FEW:>8}{MANY:>8}{'growth':>8}{'to append':>11}")
    print(f"{'append to a group':28}{'':8}{append:8.0f}")
    within = True
    for domains in (1, 4):
        few, many = (instructions_per_symbol(program, "activate", count, domains) for count in (FEW, MANY))
        print(f"{f'activate, domains: {domains}':28}{few:8.0f}{many:8.0f}{many / few:8.2f}{many / append:11.2f}")
        within &= many <= MAX_GROWTH * few and many <= MAX_OVERHEAD * append
    return 0 if within else 1


if __name__ == "__main__":
    sys.exit(main())
