#!/usr/bin/env python3
"""qxconv_test.py PROGRAM: what qxconv writes, says and leaves behind, by exit status."""
import os
import pty
import re
import resource
import signal
import stat
import subprocess
import unittest

from tool_test import ToolTest, program

PROGRAM = program("qxconv")
TEXT = "番号,名前\n1,水素\n2,ヘリウム\n3,リチウム\n4,ベリリウム\n5,ホウ素\n6,炭素\n"


class Qxconv(ToolTest):
    program = PROGRAM

    def contents(self, path):
        with open(path, "rb") as file:
            return file.read()

    def test_streams(self):
        for encoding in ("shift_jis", "euc_jp", "utf-16", "utf-8-sig", "utf-32"):
            done = self.run_tool("-t", "UTF-8", source=TEXT.encode(encoding))
            self.assertEqual(done.stdout.decode(), TEXT, encoding)
        done = self.run_tool("-f", "UTF-8", "-t", "Shift_JIS", "-", source=TEXT.encode())
        self.assertEqual(done.stdout, TEXT.encode("shift_jis"))
        self.assertEqual(self.run_tool("-t", "UTF-16LE").stdout, b"")

    def test_files_one_after_the_other(self):
        first = self.path("first", TEXT.encode("shift_jis"))
        second = self.path("second", TEXT.encode("utf-16"))
        out = self.path("out")
        self.run_tool("-t", "UTF-8", "-o", out, first, second)
        self.assertEqual(self.contents(out).decode(), TEXT + TEXT)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["first", "out", "second"])

    def test_what_begins_a_text_stands_once(self):
        empty = self.path("empty", b"")
        first = self.path("first", "a水".encode())
        second = self.path("second", "名".encode("utf-16"))
        out = self.path("out")
        for encoding in ("UTF-16", "UTF-32", "UTF-8", "Shift_JIS"):
            self.run_tool("-t", encoding, "-o", out, empty, first, empty, second)
            self.assertEqual(self.contents(out), "a水名".encode(encoding), encoding)
        self.run_tool("-f", "UTF-8", "-t", "ISO-2022-KR", "-o", out, first, empty, first)
        self.assertEqual(self.contents(out).count(b"\x1b$)C"), 1)
        self.assertEqual(self.contents(out).decode("iso2022_kr"), "a水a水")

    def test_replaces_its_own_input(self):
        path = self.path("data", TEXT.encode("shift_jis"))
        os.chmod(path, 0o640)
        link = self.path("link")
        os.symlink("data", link)
        self.run_tool("-f", "Shift_JIS", "-t", "UTF-8", "-o", link, path)
        self.assertTrue(os.path.islink(link))
        self.assertEqual(self.contents(path).decode(), TEXT)
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o640)

    def test_what_cannot_be_converted(self):
        source = "a水b".encode() + b"\xff" + b"c"
        common = ("-f", "UTF-8", "-t", "ISO-8859-1")
        done = self.run_tool(*common, source=source, status=1)
        self.assertEqual(done.stdout, b"a\x1ab\x1ac")
        self.assertIn(b"2 substituted", done.stderr)
        done = self.run_tool(*common, "--invalid=escape", source=source, status=1)
        self.assertEqual(done.stdout, b"a\\u6C34b\\xFFc")
        done = self.run_tool(*common, "--invalid=stop", source=source, status=2)
        self.assertIn(b"U+6C34 at byte 1", done.stderr)
        done = self.run_tool("-f", "UTF-8", "-t", "UTF-16", "--invalid=stop", source=source, status=2)
        self.assertIn(b"byte 5 is not well-formed", done.stderr)

    def test_a_failure_leaves_the_output_alone(self):
        out = self.path("out", b"old")
        bad = self.path("bad", b"good" * 100000 + b"\xff")
        self.run_tool("-f", "UTF-8", "-t", "UTF-16", "--invalid=stop", "-o", out, bad, status=2)
        self.run_tool("-f", "UTF-8", "-t", "UTF-16", "-o", out, bad, self.path("none"), status=3)
        self.run_tool("-f", "UTF-8", "-t", "UTF-16", "-o", out, self.folder.name, status=3)
        self.run_tool("-f", "no such", "-t", "UTF-16", "-o", out, bad, status=4)
        self.run_tool("-f", "UTF-8", "-o", out, bad, status=4)
        self.run_tool("-t", "UTF-8", "--invalid=ignore", bad, status=4)
        self.assertEqual(self.contents(out), b"old")
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["bad", "out"])
        self.run_tool("-t", "UTF-8", "-o", self.path("none/out"), bad, status=3)

    def test_interrupt(self):
        out = self.path("out", b"old")
        command = [PROGRAM, "-f", "UTF-8", "-t", "UTF-16", "-o", out]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.PIPE) as running:
            # More than a pipe holds: the program is at work.
            running.stdin.write(b"x" * 1000000)
            running.stdin.flush()
            running.send_signal(signal.SIGINT)
            said = running.communicate(timeout=60)[1]
        self.assertEqual(running.returncode, 3, said)
        self.assertIn(b"interrupted", said)
        self.assertEqual(self.contents(out), b"old")
        self.assertEqual(os.listdir(self.folder.name), ["out"])

    def test_progress_on_a_terminal(self):
        long = self.path("long", b"x" * (9 << 20))
        short = self.path("short", b"x" * (7 << 20))
        out = self.path("out")
        for source, shows in ((long, True), (short, False)):
            primary, secondary = pty.openpty()
            subprocess.run([PROGRAM, "-f", "UTF-8", "-t", "UTF-16", "-o", out, source], stderr=secondary, check=True)
            os.close(secondary)
            said = b""
            try:
                while part := os.read(primary, 65536):
                    said += part
            except OSError:  # the end of a terminal
                pass
            os.close(primary)
            if shows:
                told = [int(n) for n in re.findall(rb"\rlong: (\d+) %", said.replace(long.encode(), b"long"))]
                self.assertEqual(told, sorted(set(told)))
                self.assertEqual(told[-1], 100)
                self.assertTrue(said.endswith(b"\r\x1b[K"))
            else:
                self.assertEqual(said, b"")
        self.assertEqual(self.run_tool("-f", "UTF-8", "-t", "UTF-16", "-o", out, long).stderr, b"")

    def test_full_device(self):
        source = self.path("source", b"x" * 300000)
        self.run_tool("-f", "UTF-8", "-t", "UTF-16", "-o", "/dev/full", source, status=3)
        self.run_tool("-f", "UTF-8", "-t", "UTF-16", "-o", "/dev/null", source)

    def test_list(self):
        names = self.run_tool("--list").stdout.decode().split("\n")
        for name in ("UTF-8", "Shift_JIS", "windows-1252", "ISO-8859-1"):
            self.assertIn(name, names)

    def test_long_file_in_bounded_memory(self):
        sanitized = b"__asan_init" in self.contents(PROGRAM) or b"__tsan_init" in self.contents(PROGRAM)
        block = (TEXT * 1000).encode("shift_jis")
        source = self.path("source")
        count = 100 * 1024 * 1024 // len(block)
        with open(source, "wb") as file:
            for _ in range(count):
                file.write(block)
        out = self.path("out")
        limit = 160 * 1024 * 1024
        bound = None if sanitized else lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        self.run_tool("-t", "UTF-8", "-o", out, source, preexec_fn=bound)
        self.assertEqual(os.path.getsize(out), count * len(TEXT.encode()) * 1000)


if __name__ == "__main__":
    unittest.main()
