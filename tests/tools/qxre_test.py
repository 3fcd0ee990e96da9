#!/usr/bin/env python3
"""qxre_test.py PROGRAM: what qxre finds, prints and says, by exit status; grep agrees where it can."""
import json
import os
import resource
import shutil
import subprocess
import unittest

from tool_test import ToolTest, program

PROGRAM = program("qxre")
TEXT = """alpha beta
Gamma 12 34

delta=5; epsilon=67
last 水素 line 89
"""


class Qxre(ToolTest):
    program = PROGRAM

    def find(self, *arguments, **more):
        return self.run_tool("find", *arguments, **more).stdout.decode()


class Find(Qxre):
    def test_as_grep_does(self):
        """The same lines, names, numbers, counts, contexts and statuses as grep -P."""
        self.path("a", TEXT.encode())
        self.path("b", ("x\n" * 30 + "12\n" + "y\n" * 5 + "13\nz\n14").encode())
        self.path("empty", b"")
        for options in ([], ["-n"], ["-c"], ["-o"], ["-on"], ["-v"], ["-vn"], ["-vc"], ["-l"], ["-q"], ["-H"], ["-hn"],
                        ["-A2"], ["-B2"], ["-C1"], ["-nC2"], ["-A1", "-n"], ["-B3", "-n"], ["-vC1"], ["-i"],
                        ["--color=always"], ["--color=always", "-no"], ["--color=always", "-nC1"]):
            for pattern in (r"\d+", "a", "^$", "^", "gamma", "x*", "nothing", "[^a]2", "水", r"\s\d"):
                for files in (["a"], ["b"], ["a", "b", "empty"], ["empty"]):
                    theirs = subprocess.run(["grep", "-P", *options, "--", pattern, *files], capture_output=True,
                                            cwd=self.folder.name, env={"LC_ALL": "C.UTF-8", "GREP_COLORS": "ne"})
                    ours = subprocess.run([PROGRAM, "find", *options, "--", pattern, *files],
                                          capture_output=True, cwd=self.folder.name)
                    case = (options, pattern, files)
                    self.assertEqual(ours.returncode, theirs.returncode, (case, ours.stderr))
                    self.assertEqual(ours.stdout.decode(), theirs.stdout.decode(), case)

    def test_standard_input(self):
        self.assertEqual(self.find("b", source=b"abc\nxyz\nb"), "abc\nb\n")
        self.path("a", b"b\n")
        self.assertEqual(self.find("b", "-", "a", source=b"1b\n"), "(standard input):1b\na:b\n")

    def test_what_it_gets_is_searched_at_once(self):
        tool = subprocess.Popen([PROGRAM, "find", "b"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for line in (b"ab\n", b"xb\n"):
            tool.stdin.write(line)
            tool.stdin.flush()
            self.assertEqual(tool.stdout.readline(), line)
        tool.stdin.close()
        self.assertEqual(tool.wait(), 0)
        tool.stdout.close()

    def test_flags(self):
        self.assertEqual(self.find("-i", "B$", source=b"ab\nBA\nxB\n"), "ab\nxB\n")
        self.assertEqual(self.find("-x", "a b # c", source=b"ab\na b\n"), "ab\n")
        self.assertEqual(self.find("--whole", "-s", "-o", "a.b", source=b"a\nb\n"), "a\nb\n")
        self.assertEqual(self.find("--whole", "-m", "-c", "^.$", source=b"a\nb\n\ncc"), "2\n")

    def test_line_ends(self):
        """A line ends with a newline, or with a return in front of it; $ holds there."""
        text = b"one\r\ntwo\r\n\r\nthree"
        self.assertEqual(self.find("-n", "[oe]$", source=text), "1:one\n2:two\n4:three\n")
        self.assertEqual(self.find("-c", "^$", source=text), "1\n")
        self.assertEqual(self.find("-o", ".+", source=text), "one\ntwo\nthree\n")
        self.assertEqual(self.find("-c", r"o[^x]+t|o\st|(?<=\n)", source=text, status=1), "0\n")

    def test_blocks_are_no_lines(self):
        """Lines around the borders of what is read at once are found and numbered like others."""
        lines = [("x" * (i * 37 % 4000)) + (f"<{i}>" if i % 7 == 0 else "") for i in range(3000)]
        text = "\n".join(lines).encode()
        expected = [f"{i + 1}:{line}" for i, line in enumerate(lines) if i % 7 == 0]
        self.assertEqual(self.find("-n", "<", source=text).splitlines(), expected)
        self.assertEqual(self.find("-vc", r"<\d+>$", source=text), f"{len(lines) - len(expected)}\n")
        context = self.find("-nB1", "<70>", source=text).splitlines()
        self.assertEqual(context, [f"70-{lines[69]}", f"71:{lines[70]}"])

    def test_whole(self):
        text = b"a1\nb2\nc3\nd4\ne5"
        self.assertEqual(self.find("--whole", "-n", r"b2\nc|e", source=text), "2:b2\n3:c3\n5:e5\n")
        self.assertEqual(self.find("--whole", "-o", r"2\nc", source=text), "2\nc\n")
        self.assertEqual(self.find("--whole", "-on", r"\d\n?", source=text),
                         "1:1\n\n2:2\n\n3:3\n\n4:4\n\n5:5\n")
        self.assertEqual(self.find("--whole", "-c", r"\d", source=text), "5\n")
        self.assertEqual(self.find("--whole", "-nA1", "b", source=text), "2:b2\n3-c3\n")
        self.assertEqual(self.find("--whole", "c$", source=text, status=1), "")

    def test_encodings(self):
        for encoding in ("utf-8", "utf-8-sig", "utf-16", "utf-16-le", "utf-32", "shift_jis", "euc_jp"):
            text = ("番号,名前\n1,水素\n2,ヘリウム\n3,リチウム\n4,ベリリウム\n" * 20).encode(encoding)
            self.assertEqual(self.find("-no", "^1.*|ヘ", source=text).splitlines()[:2], ["2:1,水素", "3:ヘ"], encoding)
            self.assertEqual(self.find("-c", "^番|リウム$", source=text), "60\n", encoding)
        self.assertEqual(self.find("--encoding", "ISO-8859-1", "é", source=b"\xe9t\xe9\n"), "été\n")
        self.assertEqual(self.find("--encoding", "UTF-16", "a", source="xa\n".encode("utf-16")), "xa\n")
        done = self.run_tool("find", "--encoding", "no such", "a", status=2)
        self.assertIn(b"no such", done.stderr)

    def test_what_is_no_text(self):
        self.assertEqual(self.find("ELF", PROGRAM), f"Binary file {PROGRAM} matches\n")
        self.assertGreater(int(self.find("-c", "e", PROGRAM)), 1)
        self.assertIn("ELF", self.find("-a", "ELF", PROGRAM))
        ill_formed = b"good\n" * 20000 + b"bad \xff\xfe line\n"
        self.assertEqual(self.find(r"bad", source=ill_formed), "bad \ufffd\ufffd line\n")

    def test_json(self):
        source = 'say "水 \\ 12"\t7\n\nno\nkey=1\n'.encode()
        lines = [json.loads(line) for line in self.find("--json", r"(?<k>\w+)=(\d)|(\d+)", source=source).splitlines()]
        self.assertEqual([line["line"] for line in lines], [1, 4])
        self.assertEqual(lines[0]["text"], 'say "水 \\ 12"\t7')
        self.assertEqual([match["text"] for match in lines[0]["matches"]], ["12", "7"])
        self.assertEqual(lines[1]["matches"][0], {
            "start": 0, "end": 5, "text": "key=1",
            "tokens": [{"name": "k", "start": 0, "end": 3, "text": "key"}, {"start": 4, "end": 5, "text": "1"}, None]})
        ones = [json.loads(line) for line in self.find("--json", "-o", r"\d", source=source).splitlines()]
        self.assertEqual([(one["line"], one["start"], one["file"]) for one in ones][:2],
                         [(1, 9, "(standard input)"), (1, 10, "(standard input)")])
        whole = [json.loads(line) for line in self.find("--json", "--whole", r"7\n\nno|k", source=source).splitlines()]
        self.assertEqual([(one["line"], one["start"], one["text"]) for one in whole], [(1, 13, "7\n\nno"), (4, 0, "k")])

    def test_trouble(self):
        self.path("a", b"abc\n")
        done = self.run_tool("find", "b", "a", "missing", ".", status=2)
        self.assertEqual(done.stdout, b"a:abc\n")
        self.assertIn(b"missing: No such file", done.stderr)
        self.assertIn(b"directory", done.stderr)
        self.run_tool("find", "-q", "b", "a", "missing")
        self.run_tool("find", status=2)
        self.run_tool("find", "--color=sometimes", "a", status=2)
        self.run_tool("find", "(?ii)", "a", status=2)
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, "find", "b", self.path("a")], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 2)

    def test_a_line_at_its_limit(self):
        """It is told of, and the lines behind it are searched."""
        source = b"x\n" + b"a" * 3000 + b"bc\naaaaaab\n"
        done = self.run_tool("find", "-n", r"^(a+)(a+)(a+)\3\2\1b$", source=source, status=2)
        self.assertEqual(done.stdout, b"3:aaaaaab\n")
        self.assertIn(b"(standard input):2: ", done.stderr)

    def test_long_file_in_bounded_memory(self):
        with open(PROGRAM, "rb") as file:
            contents = file.read()
        sanitized = b"__asan_init" in contents or b"__tsan_init" in contents
        block = b"some words on a line of a long file\n" * 1000
        source = self.path("source")
        with open(source, "wb") as file:
            for _ in range(3000):
                file.write(block)
            file.write(b"the end")
        limit = 160 * 1024 * 1024
        bound = None if sanitized else lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        self.assertEqual(self.find("-n", "end$", source, preexec_fn=bound), "3000001:the end\n")
        self.assertEqual(self.find("-c", r"words\s+on", source, preexec_fn=bound), "3000000\n")


class Replace(Qxre):
    def replace(self, *arguments, **more):
        return self.run_tool("replace", *arguments, **more).stdout

    def contents(self, path):
        with open(path, "rb") as file:
            return file.read()

    def test_to_standard_output(self):
        self.assertEqual(self.replace(r"(\d+)-(\d+)", "$2/$1", source=b"a 1-2 3-4\nb\n5-6"), b"a 2/1 4/3\nb\n6/5")
        self.assertEqual(self.replace(r"\d", "<$0>", "--first", source=b"a1b2\n3\n"), b"a<1>b2\n<3>\n")
        self.assertEqual(self.replace("x*", "-", source=b"abxc\n"), b"-a-b--c-\n")
        self.assertEqual(self.replace("x", "y", source=b"abc\n", status=1), b"abc\n")
        self.assertEqual(self.replace(r"\n", " ", "--whole", source=b"a\nb\nc\n"), b"a b c ")
        self.assertEqual(self.replace("b", r"1\n2", source=b"abc\n"), b"a1\n2c\n")
        self.assertEqual(self.replace("(?<n>b)", "[$<n>$2]", source=b"abc\n"), b"a[b]c\n")
        done = self.run_tool("replace", "b", "$", source=b"b\n")
        self.assertEqual(done.stdout, b"$\n")
        self.assertIn(b"'$' is treated literally.\n  $\n  ^\n", done.stderr)

    def test_what_does_not_change_stays(self):
        """Line ends, byte-order marks, encodings, and the bytes of lines without a match."""
        for encoding in ("utf-8", "utf-8-sig", "utf-16", "utf-16-be", "utf-32", "shift_jis", "euc_jp"):
            text = "番号,名前\r\n1,水素\n\r\n2,ヘリウム\r\n3,x\n" * 30
            for mark in ("", "no end"):
                source = self.path("source", (text + mark).encode(encoding))
                expected = text.replace("素", "").replace("リウム", "") + mark
                self.assertEqual(self.replace("素|リウム", "", source).decode(encoding), expected, encoding)
                self.replace("水素", "H", "--in-place", source)
                self.assertEqual(self.contents(source), (text.replace("水素", "H") + mark).encode(encoding), encoding)
        source = b"a\xff\r\n\xc3\nb1\r\n" * 3
        self.assertEqual(self.replace("b", "c", source=source), source.replace(b"b", b"c"))

    def test_files_with_ill_formed_bytes_stay(self):
        good = self.path("good", b"a1\n")
        bad = self.path("bad", b"a1\n" * 9 + b"a2\xff\n")
        lacks = self.path("lacks", b"a1\n" + "\u00e9\n".encode("latin-1"))
        done = self.run_tool("replace", "a", "b", "--in-place", "--encoding", "UTF-8", bad, good, status=2)
        self.assertIn(b"bad:10: ill-formed bytes", done.stderr)
        self.assertEqual(self.contents(bad), b"a1\n" * 9 + b"a2\xff\n")
        self.assertEqual(self.contents(good), b"b1\n")
        done = self.run_tool("replace", "a", "水", "--in-place", "--encoding", "ISO-8859-1", lacks, status=2)
        self.assertIn(b"lacks:1: U+6C34 does not exist", done.stderr)
        self.assertEqual(self.contents(lacks)[:3], b"a1\n")
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["bad", "good", "lacks"])

    def test_in_place(self):
        path = self.path("data", b"a1\nb\n" * 100000)
        os.chmod(path, 0o640)
        link = self.path("link")
        os.symlink("data", link)
        self.assertEqual(self.replace("a", "c", "--in-place", link), b"")
        self.assertTrue(os.path.islink(link))
        self.assertEqual(self.contents(path), b"c1\nb\n" * 100000)
        self.assertEqual(os.stat(path).st_mode & 0o7777, 0o640)
        before = os.stat(path)
        self.replace("nothing", "c", "--in-place", path, status=1)
        self.assertEqual(os.stat(path).st_ino, before.st_ino)
        self.run_tool("replace", "a", "c", "--in-place", self.folder.name, status=2)
        self.run_tool("replace", "a", "c", "--in-place", self.path("missing"), status=2)
        os.mkdir(self.path("locked"), 0o500)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["data", "link", "locked"])

    def test_a_tree_of_files(self):
        paths = []
        for folder in ("a", "a/b", "c"):
            os.makedirs(self.path(folder), exist_ok=True)
            for name in ("one", "two"):
                paths.append(self.path(folder + "/" + name, f"on 2024-11-30 in {folder}/{name}\n".encode()))
        self.replace(r"(\d+)-(\d+)-(\d+)", "$3.$2.$1", "--in-place", *paths)
        for path in paths:
            self.assertIn(b"on 30.11.2024 in ", self.contents(path))

    def test_dry_run(self):
        text = b"a1\nb\nc2\nd\ne3"
        path = self.path("data", text)
        for arguments, result in (((r"[ac](\d)", "<$1>"), b"<1>\nb\n<2>\nd\ne3"),
                                  ((r"(\d)", r"$1\n"), b"a1\n\nb\nc2\n\nd\ne3\n"),
                                  ((r"\n", " ", "--whole"), b"a1 b c2 d e3"),
                                  ((r"b\n|e", "", "--whole"), b"a1\nc2\nd\n3"),
                                  (("a1|d\\n", "x", "--whole"), b"x\nb\nc2\nxe3")):
            diff = self.replace(*arguments, "--dry-run", "--in-place", path)
            self.assertEqual(self.contents(path), text)
            self.assertEqual(self.replace(*arguments, path), result)
            if shutil.which("patch") is not None:
                done = subprocess.run(["patch", "-s", "-o", "-", path], input=diff, capture_output=True)
                self.assertEqual(done.stdout, result, (arguments, diff))
        diff = self.replace("b", "x", "--dry-run", "--color=always", path)
        self.assertIn(b"\033[31m-b\033[m\n\033[32m+x\033[m\n", diff)

    def test_escape_and_wildcard(self):
        self.assertEqual(self.run_tool("escape", "a.b*", "-", "(水)").stdout.decode(), "a\\.b\\*\n\\-\n\\(水\\)\n")
        self.assertEqual(self.run_tool("wildcard", "*.txt", "a?").stdout, b".*\\.txt\na.\n")
        self.assertEqual(self.run_tool("escape", source=b"a.b\n[c]\n").stdout, b"a\\.b\n\\[c\\]\n")


class Explain(Qxre):
    def explain(self, *arguments, **more):
        return self.run_tool("explain", *arguments, **more).stdout.decode()

    def test_what_a_pattern_is(self):
        text = self.explain(r"(?<year>\d+)-(\w)")
        self.assertIn("Tokens: 2\n  1  year\n", text)
        self.assertIn("   Addr      Next  \t   Action\n", text)
        self.assertIn("Start Token #1", text)
        self.assertNotIn("warning", text)

    def test_warnings_have_a_caret(self):
        for pattern, warning, caret in (
                ("a{3,2}", "Invalid pattern for '{}' quantifier specified.", "  a{3,2}\n   ^\n"),
                ("水素[a-]", "Unbound range.", None),
                (r"水\q", "Escaped character 'q' is treated literally in this context.", "  水\\q\n     ^\n"),
                ("a\n (b", "Unmatched '('.", "   (b\n   ^\n")):
            text = self.explain(pattern, status=1)
            self.assertIn("warning: " + warning + "\n" + (caret or ""), text, pattern)

    def test_a_pattern_that_is_refused_has_a_caret(self):
        for command in ("explain", "find"):
            refused = self.run_tool(command, "水(?ii)", status=2).stderr.decode()
            self.assertEqual(refused, "qxre: Repeated mode flag.\n  水(?ii)\n       ^\n")

    def test_notes(self):
        for pattern, note, column in (
                (r"(a)\2", "There is no token 2.", 3),
                (r"(?<n>a)\k<m>", 'There is no token "m".', 7),
                ("(?(2)a)", "There is no token 2.", 3),
                ("(a)(?(x)a)", 'There is no token "x".', 6),
                ("((a))", "These parentheses make no token", 1),
                ("(?:[(](a))", "These parentheses make no token", 6),
                ("a|*b", "Nothing that could be repeated stands in front of this '*'", 2),
                ("a+++", "Nothing that could be repeated stands in front of this '+'", 3),
                ("(?=a){2}", "Nothing that could be repeated stands in front of this '{'", 5),
                ("a)b", "This ')' closes nothing", 1),
                ("(?i)a|b", "The flags that were set in front end at this '|'.", 5)):
            text = self.explain(pattern)
            self.assertIn("note: " + note, text, pattern)
            self.assertIn("  " + pattern + "\n  " + " " * column + "^\n", text, pattern)
        for pattern in (r"(a)(b)\2\1", r"(a)\12", "(?<n>a)(?(n)b|c)", "[(]a{2,3}+b*?", "(?i:a|b)|c", "a(?#(x))b",
                        r"\(a\)", "(?x) a # (((\n", "(??(a))", r"x\x{41}*"):
            self.assertNotIn("note:", self.explain(pattern, "-x") if "(?x)" in pattern else self.explain(pattern), pattern)

    def test_graph(self):
        text = self.run_tool("graph", "(a|b)*c").stdout.decode()
        self.assertTrue(text.startswith("\n\ndigraph regexp {"), text[:30])
        out = self.path("out")
        self.run_tool("graph", "a", "-o", out)
        if shutil.which("dot") is None:
            return
        self.assertIn(b"<svg", self.run_tool("graph", "(a|b)*c", "--format", "svg").stdout)
        self.run_tool("graph", "a", "--format", "png", "-o", out)
        with open(out, "rb") as file:
            self.assertEqual(file.read(4), b"\x89PNG")
        self.run_tool("graph", "a", "--format", "png", "-o", self.path("none/out"), status=2)


if __name__ == "__main__":
    unittest.main()
