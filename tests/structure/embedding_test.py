#!/usr/bin/env python3
"""embedding_test.py ROOT PROGRAM: the embedding guide's excerpts are code, and the code works.

Every C block of docs/embedding.md must stand word for word in examples/embedding/host.c, and the
program built from that file must answer session.txt with expected.txt and leak nothing.
"""
import pathlib
import re
import subprocess
import sys

root, program = pathlib.Path(sys.argv[1]), sys.argv[2]
example = root / "examples" / "embedding"
source = (example / "host.c").read_text()
guide = (root / "docs" / "embedding.md").read_text()

blocks = re.findall(r"^```c\n(.*?)^```$", guide, re.MULTILINE | re.DOTALL)
stale = [block for block in blocks if block not in source]
for block in stale:
    print(f"docs/embedding.md: not in host.c:\n{block}")

run = subprocess.run([program], stdin=(example / "session.txt").open(), capture_output=True, text=True)
expected = (example / "expected.txt").read_text()
if run.stdout != expected or run.stderr or run.returncode != 1:
    print(f"status {run.returncode}\n--- printed\n{run.stdout}--- expected\n{expected}--- errors\n{run.stderr}")
    sys.exit(1)
sys.exit(1 if stale or not blocks else 0)
