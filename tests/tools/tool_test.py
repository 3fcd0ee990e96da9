"""tool_test.py - what the tests of the command-line programs share; not a test by itself.

A test program is called with the path of the tool in front of unittest's own arguments.
"""
import os
import subprocess
import sys
import tempfile
import unittest


def program(default):
    """The tool under test, taken off the command line; `default` is sought on the path."""
    return os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else default


class ToolTest(unittest.TestCase):
    """Each test has a folder of its own; a class sets `program`."""

    program = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def path(self, name, contents=None):
        path = os.path.join(self.folder.name, name)
        if contents is not None:
            with open(path, "wb") as file:
                file.write(contents)
        return path

    def run_tool(self, *arguments, status=0, source=b"", **more):
        done = subprocess.run([self.program, *arguments], input=source, capture_output=True, timeout=300,
                              cwd=self.folder.name, **more)
        self.assertEqual(done.returncode, status, (arguments, done.stderr))
        return done
