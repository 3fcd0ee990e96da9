#!/usr/bin/env python3
"""embedding_test.py ROOT HOST EXPRESSIONS: the embedding guide's excerpts are code, and it works.

Every C and C++ block of docs/embedding.md must stand word for word in examples/embedding/host.c or
expressions.cpp, and the programs built from them must answer their input with what is expected.
The programs leak nothing under a sanitizer.
"""
import pathlib
import re
import subprocess
import sys

root, host, expressions = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
example = root / "examples" / "embedding"
guide = (root / "docs" / "embedding.md").read_text()
failed = False

for language, name in [("c", "host.c"), ("cpp", "expressions.cpp")]:
    source = (example / name).read_text()
    blocks = re.findall(r"^```" + language + r"\n(.*?)^```$", guide, re.MULTILINE | re.DOTALL)
    failed |= not blocks
    for block in blocks:
        if block not in source:
            print(f"docs/embedding.md: not in {name}:\n{block}")
            failed = True

for program, given, answer, status in [(host, "session.txt", "expected.txt", 1),
                                       (expressions, "expressions_input.txt", "expressions_expected.txt", 0)]:
    run = subprocess.run([program], stdin=(example / given).open(), capture_output=True, text=True)
    expected = (example / answer).read_text()
    if run.stdout != expected or run.stderr or run.returncode != status:
        print(f"status {run.returncode}\n--- printed\n{run.stdout}--- expected\n{expected}--- errors\n{run.stderr}")
        failed = True
sys.exit(1 if failed else 0)
