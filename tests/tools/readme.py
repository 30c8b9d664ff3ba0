"""The README's examples of `cul`, run over files that are made for them: what it shows is true."""

import os
import re
import subprocess
import time
import unittest

from tool import ROOT, TOOL, ToolTest

HOUR = 3600


class Readme(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("bin/cul").unlink()
        (self.scratch / "bin/cul").symlink_to(TOOL)
        self.environment["PATH"] = f"{self.scratch}/bin:{os.environ['PATH']}"
        for name in ("local/bin/gdb", "opt/bin/gdb", "src/lib/text/text.c", "build/text.o"):
            self.write(name, mode=0o755)
        self.store("libc.so.6.debug", bytes(4_200_000), 3)
        self.store("libm.so.6.debug", bytes(910_000), 75)
        self.catalog("english", "1 %1 is not in %2", "2 no memory")
        self.catalog("german", "1 %1 ist nicht da")
        self.write("here", b"LANG=C\0PATH=/bin\0")
        self.write("there", b"PATH=/usr/bin:/bin\0LD_LIBRARY_PATH=/opt/lib\0")

    def store(self, name, content, hours):
        copy = self.cul("cache", "put", str(self.write("debug/" + name, content))).decode()
        accessed, modified = time.time() - hours * HOUR - 60, time.time()
        os.utime(copy.rstrip("\n"), (accessed, modified))

    def shown(self, line):
        """What a line shows that a user types, who is called anna."""
        done = subprocess.run(["bash", "-c", line], cwd=self.scratch, env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)  # fmt: skip
        text = done.stdout.decode().replace(str(self.home), "/home/anna")
        return text.replace(str(self.scratch), "/tmp/anna")

    def test_each_example_shows_what_stands_below_it(self):
        section = (ROOT / "README.md").read_text().split("\n## The command", 1)[1].split("\n## ")[0]
        block = "\n".join(re.findall(r"^    (.*)|^$", section, re.M)) + "\n"
        examples = re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.M)
        self.assertGreater(len(examples), 10)
        for line, expected in examples:
            pattern = r"\s*".join(re.escape(each) for each in expected.split("\n"))
            self.assertRegex(self.shown(line), "^" + pattern.replace("…", ".*") + "$", line)
        helped = re.findall(r"^  (\w.*?)  ", self.cul("--help").decode(), re.M)
        self.assertEqual([name for name in helped if f"$ cul {name}" not in block], [])


if __name__ == "__main__":
    unittest.main()
