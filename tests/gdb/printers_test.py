#!/usr/bin/env python3
"""printers_test.py PROGRAM PRINTERS: gdb prints the records of the program as expected. Exit status
77, which CTest takes for skipped, where the system lets nobody trace a process."""
import re
import subprocess
import sys

EXPECTED = {
    "numbers": "ut_array of 3 elements of 4 bytes, capacity {n} = {[0] = 10, [1] = 20, [2] = 30}",
    "empty_array": "ut_array of 0 elements of 8 bytes, capacity 0",
    "table": "ut_ghash_table of 2 entries in {n} buckets = {[5] = 50, [6] = 60}",
    "cleared": "ut_ghash_table, not initialised",
    "indexed": '_ihash_table of 2 entries = {[100] = 7, [90] = 8}',
    "names": 'ut_namehash of 1 name = {"alpha"}',
    "columns": 'ut_gtable of 2 rows in 2 columns, room for 4 = {column 0 = 8 bytes: 11 12, column 1 = 2 bytes: 1 2}',
    "*set": "utSet = {3, 4}",
    "intervals": "ut_fsi of 5 members in 2 intervals = {[-3, -1], [7, 8]}",
    "full": "ut_fsi of 18446744073709551616 members in 1 interval = {[-9223372036854775808, 9223372036854775807]}",
    "buffer": '"some text"',
    "*contexts_errors": "_error_context in 2 try frames = {frame 0 = handler inner_handler, "
                        "item 0 = clean_two({argument}, {object}), item 1 = clean_one({object}), "
                        "frame 1 = handler outer_handler, item 2 = clean_one({object})}",
}


def main():
    program, printers = sys.argv[1:]
    commands = ["set pagination off", "set confirm off", "set width 0", "set debuginfod enabled off",
                f"source {printers}", "break stop_here", "run", "up"]
    for name in EXPECTED:
        commands += [f'echo <{name}>', f"output {name}", "echo \\n"]
    commands += ["echo <*messages>", "output *messages", "echo \\n",
                 "echo <argument>", "output/x (unsigned long)argument_address", "echo \\n",
                 "echo <object>", "output/x (unsigned long)object_address", "echo \\n", "kill"]
    line = ["gdb", "-nx", "-batch"]
    for command in commands:
        line += ["-ex", command]
    result = subprocess.run(line + [program], capture_output=True, text=True, timeout=240)
    refusals = ("ptrace: Operation not permitted", "Could not trace the inferior process")
    if any(refusal in result.stderr for refusal in refusals):
        print("tracing a process is not permitted here; the printers were not tested")
        return 77

    printed = {}
    for shown in result.stdout.splitlines():
        if shown.startswith("<") and ">" in shown:
            name, _, text = shown[1:].partition(">")
            printed[name] = text
    faults = 0
    for name, expected in EXPECTED.items():
        actual = printed.get(name, "nothing")
        expected = expected.replace("{argument}", printed.get("argument", "?"))
        expected = expected.replace("{object}", printed.get("object", "?"))
        # Room and buckets are the records' own business.
        good = re.fullmatch(re.escape(expected).replace(re.escape("{n}"), r"\d+"), actual)
        if not good:
            faults += 1
            print(f"{name}:\n  printed  {actual}\n  expected {expected}")
    messages = printed.get("*messages", "nothing")
    if not (messages.startswith("ut_message_context of ") and "module 1 = " in messages):
        faults += 1
        print(f"messages: {messages}")
    if faults:
        print(result.stderr)
    return 1 if faults else 0


sys.exit(main())
