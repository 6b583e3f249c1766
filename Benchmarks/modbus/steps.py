#!/usr/bin/env python3
"""Counts the instructions per symbol of each step in which a recipe is written over Modbus TCP, and read.

usage: steps.py PROGRAM DEVICE      (benchmark_modbus and modbus_device of a release build)

The instructions are those of the process, without the kernel's. Fails where a step's function is no longer found, or a
mark is missed.
"""

import re
import subprocess
import sys
import tempfile

from compare import Partner, is_kept

SIZES = (1_000, 10_000)
# The marks: instructions per symbol of a recipe of the larger size.
MOST_INSTRUCTIONS = {"write": 2_800, "read": 3_200}
OPERATIONS = ("write", "read")
# What is read is not held against a schema.
ONLY_WRITES = ("schemas",)

# Where one step ends and another begins: functions of which each calls the next, and what they call among others. A
# function that is entered while it is under way has '2 behind its name the second time.
FUNCTIONS = {
    "all": r"measured_pass",
    "extension": r"RecipeManagement::RavikRecipeManagement::(?:activate_recipe|read_from_target)\(.*\)",
    "symbols": r"RecipeManagement::get_symbol_data\(.*\)",
    "domains": r"RecipeManagement::symboldata_from_srv_config\(.*\)",
    "group": r"Ravik::Host::execute_command_group\(.*\)",
    "mapping": r"Ravik::Executor::map_command\(.*\) const",
    "schemas": r"Ravik::Symbol::check\(.*\) const",
    "record": r"Ravik::Recorder::describe\(.*\) const",
    "driver": r"Ravik::Extension::request\(.*\)'2",
    "addresses": r"Modbus::parse_address\(.*\)",
    "values": r"Modbus::(?:en|de)code\(.*\)",
    "plan": r"Modbus::Planner::next\(\)",
    "accesses": r"Modbus::\(anonymous namespace\)::CommandAccesses::make_more\(\)",
    "frames": r"Modbus::Pipeline::(?:send|receive)\(.*\)",
}

# Each with the functions whose instructions count, and those that are taken off.
STEPS = (
    ("server: the call of the function", ("all",), ("extension",)),
    ("extension: symbols and values of the recipe", ("symbols",), ()),
    ("extension: who serves each symbol", ("domains",), ()),
    ("extension: the commands; reading, also the answer", ("extension",), ("symbols", "domains", "group")),
    ("server: the symbols' mappings", ("mapping",), ("schemas",)),
    ("server: values against schemas", ("schemas",), ()),
    ("server: record of what was executed", ("record",), ()),
    ("server: what else routing takes", ("group",), ("mapping", "record", "driver")),
    ("driver: addresses from mappings", ("addresses",), ()),
    ("driver: registers from values and back", ("values",), ()),
    # The plan asks for the accesses.
    ("driver: plan of the requests", ("plan",), ("accesses",)),
    ("driver: what else it takes", ("driver", "accesses"), ("addresses", "values", "plan", "frames")),
    ("driver: frames there and back, without the kernel", ("frames",), ()),
    ("all", ("all",), ()),
)


def instructions(program, port, operation, count):
    """The instructions of each of FUNCTIONS, with all that it calls, in one pass."""
    with tempfile.NamedTemporaryFile(prefix="ravik-callgrind.") as profile:
        # Once before, so that what happens only once in a process is not counted.
        lines = f"fill {count} 1\nrun ravik {operation} {count} 1 1\nmeasure ravik {operation} {count} 1\n"
        command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile.name}", "--collect-atstart=no",
                   "--toggle-collect=measured_pass", program, port]
        run = subprocess.run(command, input=lines, capture_output=True, text=True, check=False)
        if run.returncode != 0:
            sys.exit(f"{' '.join(command)} failed:\n{run.stderr}")
        listing = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", "--auto=no",
                                  profile.name], stdout=subprocess.PIPE, text=True, check=True).stdout
    found = {}
    for step, function in FUNCTIONS.items():
        pattern = rf"^ *([\d,]+) .*:{function} \[[^\]]*\]$"
        counts = [int(each.replace(",", "")) for each in re.findall(pattern, listing, re.MULTILINE)]
        if not counts and not (operation == "read" and step in ONLY_WRITES):
            sys.exit(f"no function {function} was found in a {operation}")
        found[step] = sum(counts)
    return found


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    port = Partner(sys.argv[2], "--port", "0").read()
    columns = [(operation, count, instructions(sys.argv[1], port, operation, count))
               for operation in OPERATIONS for count in SIZES]
    heads = (f"{operation} {count:,}" for operation, count, _ in columns)
    print("| instructions per symbol | " + " | ".join(heads) + " |")
    print("|---|" + "---:|" * len(columns))
    for name, counted, taken_off in STEPS:
        cells = ((sum(found[each] for each in counted) - sum(found[each] for each in taken_off)) / count
                 for _, count, found in columns)
        print(f"| {name} | " + " | ".join(f"{cell:,.0f}" for cell in cells) + " |")
    print()
    # All are looked at, whatever the first of them says.
    return 0 if all([is_kept(f"{operation} {count:,}: instructions per symbol", found["all"] / count, "<=",
                             MOST_INSTRUCTIONS[operation])
                     for operation, count, found in columns if count == SIZES[-1]]) else 1


if __name__ == "__main__":
    sys.exit(main())
