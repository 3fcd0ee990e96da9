#!/usr/bin/env python3
"""readme_test.py ROOT: what the read-me files show of the console is what the console prints.

Every line of a block that shows the prompt must stand, in the order shown, in the recorded output
of the demo, which the tests of the console compare with the console itself.
"""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
printed = (root / "tests" / "console" / "golden" / "demo.out").read_text().splitlines()

shown = 0
stale = False
for name in ["README.md", "examples/console/README.md"]:
    for block in re.findall(r"(?:^    .*\n)+", (root / name).read_text(), re.MULTILINE):
        if not block.startswith("    >> "):
            continue
        shown += 1
        rest = iter(printed)
        for line in block.splitlines():
            if line[4:] not in rest:
                print(f"{name}: the demo does not print, or not in this order: {line[4:]}")
                stale = True
                break
sys.exit(1 if stale or not shown else 0)
