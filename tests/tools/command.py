"""The command line of `cul`: its help, its refusals, its output, and the small commands."""

import json
import os
import pathlib
import re
import unittest

from tool import ROOT, TOOL, ToolTest


class Command(ToolTest):
    def test_wrong_command_lines_are_refused(self):
        rows = [
            ([], "which command?"), (["fnid"], "no command fnid"), (["-x"], "no command -x"),
            (["find"], "exe, module, source"), (["cache", "lst"], "list, stat"),
            (["find", "exe"], "NAME"), (["find", "exe", "a", "b"], '"b" is too much'),
            (["split", "--foo", "a"], "option --foo"), (["version", "--json=1"], "no value"),
            (["find", "exe", "--current", "x", "a"], "option --current"),
            (["find", "exe", "a", "--path"], "--path wants PATH"),
            (["cache", "would-remove", "1h"], 'HOURS wants a number up to 4294967295, not "1h"'),
            (["cache", "would-remove", "4294967296"], "HOURS"),
            (["env", "--diff", "a"], "two files"),
            (["cache", "get", "x", "--offset", "-1"], "--offset"),
            (["cache", "list", "--sort", "colour", "--directory", "."], "name, size or age"),
            (["cache", "doctor", "--directory", ".", "--parameter", "."], "or --parameter"),
            (["no\nsuch\x1b[m"], "\\x0Asuch\\x1B"),
        ]  # fmt: skip
        for words, expected in rows:
            said = self.refusal(*words, status=2)
            self.assertTrue(said.startswith("cul") and expected in said, (words, said))

    def test_help_manual_and_completion_agree(self):
        manual = (ROOT / "docs/man/cul.1").read_text()
        documented = {"--" + name for name in re.findall(r"Fl -([a-z][a-z-]+)", manual)}
        script = """. "$1/tools/cul.bash-completion"; shift
                    COMP_WORDS=(cul $1 -) COMP_CWORD=$2; _cul; echo "${COMPREPLY[@]}" """
        names = re.findall(r"^  (\S+(?: \S+)?)  ", self.cul("--help").decode(), re.M)
        self.assertGreater(len(names), 10)
        for name in names:
            words = name.split()
            options = re.findall(r"^  (--\S+)", self.cul(*words, "--help").decode(), re.M)
            for word in words:
                self.assertRegex(manual, rf"Cm .*\b{word}\b", name)
            self.assertLessEqual(set(options), documented, name)
            completed = self.program("bash", "-c", script, "bash", ROOT, name, str(len(words) + 1))
            self.assertEqual(completed.split(), [*options, "--help"], name)

    def test_a_full_disk_is_a_failure(self):
        with open("/dev/full", "w") as full:
            said = self.run_tool("version", stdout=full)
        self.assertEqual(said.returncode, 1)
        self.assertIn(b"standard output: No space left on device", said.stderr)

    def test_colours_and_escapes_are_for_terminals(self):
        words = ["find", "exe", "sh", "--explain"]
        self.assertIn(b"\x1b[32mfound\x1b[m", self.on_terminal(*words))
        for plain in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            self.assertNotIn(b"\x1b", self.on_terminal(*words, **plain))
        self.assertNotIn(b"\x1b", self.cul(*words))
        self.assertEqual(self.on_terminal("split", "a\x1b[2J\xe9"), b"a\\x1B[2J\xc3\xa9\r\n")
        self.assertEqual(self.cul("split", 'a\x1b[2J "b c"'), b"a\x1b[2J\nb c\n")

    def test_the_environment_is_the_processs_own(self):
        self.environment.update(ODD="a=b \xe9\n", EMPTY="", RAW=os.fsdecode(b"\xff"))
        seen = self.program("env", "-0", text=False)
        told = self.json("env")["variables"]
        text = b"".join(os.fsencode(v["name"] + "=" + v["value"]) + b"\0" for v in told)
        self.assertEqual(text, seen)
        self.write("zeros", seen)
        self.write("lines", seen.replace(b"\0", b"\n"))
        for name in ("zeros", "lines"):
            self.assertEqual(self.json("env", name)["variables"], told)
        own = self.json("env", f"/proc/{os.getpid()}/environ")["variables"]
        self.assertIn({"name": "CUL_TOOL", "value": TOOL}, own)

    def test_differences_between_environments(self):
        self.write("a", b"SAME=1\0GONE=x\0TWICE=1\0TWICE=2\0PATH=/bin\0")
        self.write("b", b"TWICE=2\nNEW=\nPATH=/usr/bin:/bin\nSAME=1\n")
        told = self.json("env", "--diff", "a", "b")["differences"]
        self.assertEqual([tuple(row.values()) for row in told], [
            ("removed", "GONE", "x", None), ("added", "NEW", None, ""),
            ("changed", "PATH", "/bin", "/usr/bin:/bin"),
        ])  # fmt: skip
        self.assertEqual(self.json("env", "--diff", "a", "a")["differences"], [])
        self.refusal("env", "--diff", "a", "none")

    def test_the_version_names_the_libraries_in_use(self):
        told = self.json("version")
        loaded = self.program("ldd", TOOL)
        for name in ("cul", "quonutil"):
            self.assertRegex(loaded, rf"lib{name}\.so\S* => {re.escape(told[name])} ")
        release = pathlib.Path("/proc/version").read_text()
        kernel = re.match(r"Linux version (\d+)\.(\d+)\.?(\d*)", release)
        self.assertEqual(told["kernel"], ".".join(part or "0" for part in kernel.groups()))
        project = (ROOT / "CMakeLists.txt").read_text()
        self.assertEqual(told["version"], re.search(r"project\(cul\s+VERSION (\S+)", project)[1])
        self.assertEqual(json.loads(self.cul("--version", "--json")), told)


if __name__ == "__main__":
    unittest.main()
