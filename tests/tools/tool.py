"""What the tests of the command `cul` share: they run it in a directory and a home of their own."""

import json
import os
import pathlib
import pty
import shutil
import subprocess
import tempfile
import unittest

TOOL = os.environ["CUL_TOOL"]
ROOT = pathlib.Path(__file__).resolve().parents[2]


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="cul-test-"))
        self.addCleanup(shutil.rmtree, self.scratch)
        self.home = self.scratch / "home"
        self.home.mkdir()
        self.environment = dict(os.environ, HOME=str(self.home), TERM="xterm")
        for name in ("LD_LIBRARY_PATH", "NO_COLOR"):
            self.environment.pop(name, None)

    def run_tool(self, *words, **more):
        """Runs `cul` in the scratch directory and returns how it ended and what it wrote."""
        usual = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "cwd": self.scratch}
        usual["env"] = self.environment
        return subprocess.run([TOOL, *words], timeout=120, **{**usual, **more})

    def program(self, *words, **more):
        """What another program writes in the scratch directory, which has to end well."""
        more = {"cwd": self.scratch, "env": self.environment, "text": True, **more}
        return subprocess.run(words, check=True, stdout=subprocess.PIPE, **more).stdout

    def on_terminal(self, *words, to="stdout", **variables):
        """What a terminal gets that is its standard output, or its standard error."""
        master, terminal = pty.openpty()
        self.run_tool(*words, **{to: terminal}, env={**self.environment, **variables})
        os.close(terminal)
        shown = os.read(master, 100_000)
        os.close(master)
        return shown

    def cul(self, *words, status=0, **more):
        """The same for a given end; returns the bytes of standard output."""
        done = self.run_tool(*words, **more)
        self.assertEqual(done.returncode, status, (words, done.stdout, done.stderr))
        if status == 0:
            self.assertEqual(done.stderr, b"", words)
        return done.stdout

    def refusal(self, *words, status=1, **more):
        """What is said when it fails: one line on standard error, and nothing else."""
        done = self.run_tool(*words, **more)
        said = done.stderr.decode()
        self.assertEqual((done.returncode, said.count("\n"), said[-1:], done.stdout),
                         (status, 1, "\n", b""), (words, said))  # fmt: skip
        return said

    def json(self, *words, status=0, **more):
        return json.loads(self.cul(*words, "--json", status=status, **more))

    def catalog(self, name, *lines):
        """A compiled message catalog."""
        text = "\n".join(["$ codeset=UTF-8", "$set 1", *lines, ""])
        self.write(name + ".msg", text.encode())
        environment = dict(self.environment, LC_ALL="C.UTF-8")
        self.program("gencat", "--new", "-o", name, name + ".msg", env=environment)
        return name

    def write(self, name, content=b"", mode=0o644):
        """Makes a file with its directories below the scratch directory."""
        path = self.scratch / os.fsdecode(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode)
        return path
