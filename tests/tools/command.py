"""The command `cul`, in a directory and a home of its own: what it refuses, what it tells of ages
and of file systems, and each example of the README and of examples.txt."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

TOOL = os.environ["CUL_TOOL"]
ROOT = pathlib.Path(__file__).resolve().parents[2]

# catalog NAME LINE... makes a message catalog, of set 1 unless a line begins another one.
SHELL = r"""umask 022; set -o pipefail
catalog() {
    printf '%s\n' '$ codeset=UTF-8' '$set 1' "${@:2}" | LC_ALL=C.UTF-8 gencat --new -o "$1"
}
"""
NOW = 1_800_000_000  # 2027-01-15 08:00:00 UTC

# What the README's examples are run over.
FILES = r"""
mkdir -p local/bin opt/bin src/lib/text build debug
touch local/bin/gdb opt/bin/gdb src/lib/text/text.c build/text.o; chmod +x */bin/gdb
head -c 4200000 /dev/zero >debug/libc.so.6.debug; head -c 910000 /dev/zero >debug/libm.so.6.debug
touch -ad '3 hours ago' "$(cul cache put debug/libc.so.6.debug)"
touch -ad '75 hours ago' "$(cul cache put debug/libm.so.6.debug)"
catalog english '1 %1 is not in %2' '2 no memory'; catalog german '1 %1 ist nicht da'
printf 'LANG=C\0PATH=/bin\0' >here; printf 'PATH=/usr/bin:/bin\0LD_LIBRARY_PATH=/opt/lib\0' >there
"""


class Command(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="cul-test-"))
        self.addCleanup(shutil.rmtree, self.scratch)
        self.home = self.scratch / "home"
        (self.home / "bin").mkdir(parents=True)
        (self.home / "bin/cul").symlink_to(TOOL)
        self.environment = dict(os.environ, PATH=f"{self.home}/bin:{os.environ['PATH']}",
                                HOME=str(self.home), TERM="xterm", NO_COLOR="",
                                LD_LIBRARY_PATH="")  # fmt: skip

    def shell(self, line):
        """What a user sees who types the line, is called anna, and has `cul` and `catalog`."""
        text = subprocess.run(["bash", "-c", SHELL + line], cwd=self.scratch, env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              universal_newlines=True).stdout  # fmt: skip
        return text.replace(str(self.home), "/home/anna").replace(str(self.scratch), "/tmp/anna")

    def test_what_is_refused_and_what_fails_is_told_in_one_line(self):
        self.shell("echo >file; mkdir c; cd c; touch empty $(printf 'two.%032d ' 1 2)")
        wrong = [
            ("", "which command"), ("find", "exe, module, source"), ("fnid", "no command fnid"),
            (r"$'no\nsuch\e[m'", r"\\x0Asuch\\x1B"), ("find exe a --path", "--path wants PATH"),
            ("find exe", "wants NAME"), ("find exe a b", '"b" is too much'),
            ("split --foo a", "no option --foo"), ("version --json=1", "--json has no value"),
            ("cache would-remove 4294967296", "HOURS wants a number up to 4294967295, not"),
            ("cache would-remove 1h", "HOURS"), ("cache list --directory c --sort x", "name, size"),
            ("cache doctor --directory c --parameter c", "or --par"), ("env --diff a", "two files"),
        ]  # fmt: skip
        fails = [
            ("cache get ../file", "no path"), ("cache get none --directory c", "has no none"),
            ("cache put none", "none: No such file"), ("cache get empty --directory c", "offset"),
            ("cache put file --directory a:b", '":"'), ("cache put file --directory x", "no dir"),
            ("cache put file --name " + "n" * 223, "name too long"), ("env x", "x: No such file"),
            ("cache remove none --directory c", "has no none"), ("catalog lint file", "no comp"),
            ("cache remove --copies none --directory c", "nothing of that name"),
            ("cache get two --directory c", "has 2 copies of two"),
            ("cache list --directory file", "Not a dir"), ("catalog lint none", "No such file"),
        ]  # fmt: skip
        rows = [(*row, 2, r" \(cul.* --help tells more\)") for row in wrong]
        for line, expected, status, end in rows + [(*row, 1, "") for row in fails]:
            told = self.shell(f"cul {line} >out; echo $? $(cat out)")
            self.assertRegex(told, rf"\Acul.*: .*{expected}.*{end}\n{status}\n\Z", line)

    def test_help_manual_and_completion_agree(self):
        manual = (ROOT / "docs/man/cul.1").read_text()
        names = re.findall(r"^  (\S+(?: \S+)?)  ", self.shell("cul --help"), re.M)
        self.assertGreater(len(names), 10)
        for name in names:
            words = name.split()
            options = re.findall(r"^  (--\S+)", self.shell(f"cul {name} --help"), re.M)
            for each in [rf"Cm .*\b{word}" for word in words] + ["Fl " + o[1:] for o in options]:
                self.assertRegex(manual, each + r"\b", name)
            completed = self.shell(f""". {ROOT}/tools/cul.bash-completion
                COMP_WORDS=(cul {name} -) COMP_CWORD={len(words) + 1}; _cul
                echo "${{COMPREPLY[@]}}" """)
            self.assertEqual(completed.split(), [*options, "--help"], name)

    # Nothing can be loaded in front of a sanitizer.
    @unittest.skipIf(os.environ.get("CUL_SANITIZE"), "no clock but the system's")
    def test_what_would_be_removed_is_older_than_the_limit_by_a_second(self):
        self.shell("mkdir -p c/in; cd c; ln -s ../outside link; ln -s .. up; ln -s nowhere gone")
        self.environment.update(TZ="UTC", NO_FAKE_STAT="1")
        for hours, limit in ((48, 172800), (1193047, 1904), (0, 0)):  # the limit has 32 bits
            for name, age in (("c/stays", limit), ("c/older", limit + 1), ("outside", limit + 1)):
                (self.scratch / name).touch()
                os.utime(self.scratch / name, (NOW - age, NOW))
            told = json.loads(self.shell("faketime -f '2027-01-15 08:00:00' cul cache would-remove "
                                         f"{hours} --directory c --json"))  # fmt: skip
            self.assertEqual((told["limit"], {row["name"] for row in told["removed"]}),
                             (limit, {"older", "link"}))  # fmt: skip

    @unittest.skipIf(os.system("unshare -m true 2>/dev/null"), "may not mount a file system")
    def test_the_doctor_asks_the_file_system(self):
        told = self.shell("""mkdir d
            for it in noatime:48 relatime:12 relatime:24 strictatime:12; do
            unshare -m sh -c "mount -t tmpfs -o mode=0700,${it%:*} none d
                cul cache doctor --parameter $PWD/d:${it#*:} | grep wrong"; done""")
        self.assertRegex(told, "^.* no access times: .*\n.* 24 hours: within 12 .*\n$")

    def check_examples(self, text):
        examples = re.findall(r"^\$ (.*)\n((?:(?!\$ |# ).*\n)*)", text, re.M)
        self.assertGreater(len(examples), 10)
        for line, expected in examples:
            pattern = re.escape(expected.strip()).replace("…", ".*")
            shown = re.sub(" +$", "", self.shell(line), flags=re.M).strip()
            self.assertTrue(re.fullmatch(pattern, shown), f"{line}\n{shown}\nis not\n{expected}")

    def test_the_examples_of_the_readme(self):
        self.assertEqual(self.shell(FILES), "")
        section = (ROOT / "README.md").read_text().split("\n## The command", 1)[1].split("\n## ")[0]
        self.check_examples("\n".join(re.findall(r"^    (.*)|^$", section, re.M)) + "\n")

    def test_more_examples(self):
        self.check_examples((ROOT / "tests/tools/examples.txt").read_text())


if __name__ == "__main__":
    unittest.main()
