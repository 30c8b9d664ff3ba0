"""What `cul cache` tells and does, held against md5sum, the disk, and a real removal by age."""

import hashlib
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile
import time
import unittest

from tool import TOOL, ToolTest

HOUR = 3600
EMPTY = "d41d8cd98f00b204e9800998ecf8427e"


class Cache(ToolTest):
    def setUp(self):
        super().setUp()
        self.directory = self.scratch / "cache"
        self.directory.mkdir(mode=0o700)
        self.at = ["--directory", str(self.directory)]

    def copy(self, name, content, age=0, now=None):
        """A copy as the cache makes it, last read `age` seconds before `now`, in nanoseconds."""
        digest = hashlib.md5(content).hexdigest()
        path = self.write(f"cache/{name}.{digest}", content, 0o600)
        self.read_ago(path, age, now)
        return path.name

    def read_ago(self, path, seconds, now=None):
        now = now or time.time_ns()
        os.utime(path, ns=(now - seconds * 10**9, now))

    def snapshot(self):
        return sorted((e.name, e.stat(follow_symlinks=False).st_atime_ns,
                       e.stat(follow_symlinks=False).st_mtime_ns)
                      for e in os.scandir(self.directory))  # fmt: skip

    def test_digests_are_those_of_md5sum(self):
        for number in range(3):
            self.copy(f"f{number}", os.urandom(number * 700_000))
        (self.directory / self.copy("damaged", b"x" * 1000)).write_bytes(b"y" * 1000)
        self.write("cache/plain", b"no digest")
        told = self.json("cache", "verify", *self.at, status=1)["copies"]
        told = {copy["file"]: copy["verdict"] for copy in told}
        expected = {}
        for line in self.program("md5sum", *told, cwd=self.directory).splitlines():
            digest, name = line.split("  ", 1)
            expected[name] = "good" if name.endswith("." + digest) else "damaged"
        expected["plain"] = "no digest"
        self.assertEqual(told, expected)

    def test_would_remove_is_what_a_removal_then_takes(self):
        for name, target in (("link", "../outside"), ("dangling", "nowhere"), ("up", "..")):
            (self.directory / name).symlink_to(target)
        (self.directory / "inside").mkdir()
        rows = [("48", ":48", 48 * HOUR), ("1", ":1", HOUR), ("1193047", ":1193047", 1904),
                ("0", "::flush", 0), ("2000", ":2000", 2000 * HOUR)]  # fmt: skip
        # A clock that stands still shows that the second of the limit itself stays. A sanitizer
        # lets nothing be loaded in front of it: there the clock runs, and no age can be that exact.
        now, spare = None, 90
        if not os.environ.get("CUL_SANITIZE"):
            now, spare = 1_800_000_000 * 10**9, 0
            preload = self.program("faketime", "now", "printenv", "LD_PRELOAD").strip()
            self.environment.update(LD_PRELOAD=preload, FAKETIME="2027-01-15 08:00:00", TZ="UTC",
                                    NO_FAKE_STAT="1")  # fmt: skip
        for hours, rest, limit in rows:
            for name, age in (("stays", limit - spare), ("older", limit + 1), ("ancient", 10**9)):
                self.copy(name, b"", age, now)
            self.read_ago(self.write("outside"), limit + 2, now)
            told = self.json("cache", "would-remove", hours, *self.at)
            twin = self.scratch / f"cul-test-twin-{hours}"
            shutil.copytree(self.directory, twin, symlinks=True)
            before = set(os.listdir(twin))
            self.program(os.environ["CUL_EXPIRE"], str(twin), rest)
            files = {".".join(filter(None, (r["name"], r["digest"]))) for r in told["removed"]}
            self.assertEqual(files, before - set(os.listdir(twin)), hours)
            self.assertEqual((told["limit"], "ancient." + EMPTY in files), (limit, True))

    def test_looking_changes_nothing(self):
        self.copy("old", b"old", 10_000 * HOUR)
        self.copy("new", b"new")
        before = self.snapshot()
        for words in (["list"], ["stat"], ["verify"], ["would-remove", "1"], ["doctor"]):
            self.cul("cache", *words, *self.at)
            self.run_tool("cache", *words)
        self.refusal("cache", "get", "none")
        self.assertEqual(before, self.snapshot())
        self.assertEqual(os.listdir(self.home), [], "looking made the user's cache")
        homeless = {name: value for name, value in self.environment.items() if name != "HOME"}
        done = self.run_tool("cache", "list", env=homeless)
        default = pwd.getpwuid(os.getuid()).pw_dir + "/.vexcorlz/"
        self.assertIn(default, (done.stdout + done.stderr).decode())

    def test_lists_and_totals(self):
        for name, size, age in (("a", 5, 0), ("b.so", 700, 2 * HOUR), ("c", 30, 1000 * HOUR)):
            self.copy(name, b"x" * size, age + 30)
        for key, order in (("size", ["b.so", "c", "a"]), ("age", ["c", "b.so", "a"])):
            copies = self.json("cache", "list", "--sort", key, *self.at)["copies"]
            self.assertEqual([copy["name"] for copy in copies], order)
        self.assertTrue(0 <= copies[2]["age"] - 30 < 60, copies)
        told = self.json("cache", "stat", *self.at)
        ages = {row["age"]: (row["files"], row["bytes"]) for row in told["ages"]}
        self.assertEqual((told["files"], told["bytes"], told["names"]), (3, 735, 3))
        self.assertEqual((ages["below 1 h"], ages["below 24 h"], ages["older"]),
                         ((1, 5), (1, 700), (1, 30)))  # fmt: skip

    def test_what_is_stored_is_read_and_removed(self):
        content = os.urandom(300_000)
        file = str(self.write("src/libx.so.debug", content))
        kept = self.copy("kept", b"kept", 20 * 365 * 24 * HOUR)
        name = f"libx.so.debug.{hashlib.md5(content).hexdigest()}"
        put = ["cache", "put", file, *self.at]
        self.assertEqual(self.cul(*put).decode(), f"{self.directory / name}\n")
        self.cul(*put, "--name", "plain", "--no-digest")
        for asked in (name, "libx.so.debug", "plain"):
            self.assertEqual(self.cul("cache", "get", asked, *self.at), content)
        piece = self.cul("cache", "get", name, "--offset", "299990", "--size=10", *self.at)
        self.assertEqual(piece, content[-10:])
        removed = self.json("cache", "remove", "--copies", "libx.so.debug", *self.at)["removed"]
        self.assertEqual(removed, [{"file": name}])
        self.cul("cache", "remove", "plain", *self.at)
        self.assertEqual(os.listdir(self.directory), [kept], "an old copy was expired")
        self.cul("cache", "put", file)
        default = self.home / ".vexcorlz"
        self.assertEqual((os.listdir(default), default.stat().st_mode & 0o777), ([name], 0o700))

    def test_failures_are_told_in_one_line(self):
        file = str(self.write("file", b"content"))
        empty = self.copy("empty", b"")
        rows = [
            (["get", "none", *self.at], "has no none"),
            (["get", "../file", *self.at], "no path"),
            (["get", empty, *self.at], "offset"),
            (["put", str(self.scratch / "none"), *self.at], "No such file"),
            (["put", file, "--directory", str(self.scratch / "none")], "no directory"),
            (["put", file, "--name", "n" * 223, *self.at], "File name too long"),
            (["put", file, "--directory", "a:b"], '":"'),
            (["remove", "none", *self.at], "has no none"),
            (["remove", "--copies", "none", *self.at], "nothing of that name"),
            (["list", "--directory", file], "Not a directory"),
            (["list", "--directory", "none"], "No such file"),
        ]  # fmt: skip
        for words, expected in rows:
            self.assertIn(expected, self.refusal("cache", *words), words)

    @unittest.skipUnless(os.path.isdir("/dev/shm"), "no file system that keeps every time")
    def test_what_no_hours_can_say_is_not_removed(self):
        directory = tempfile.mkdtemp(prefix="cul-test-", dir="/dev/shm")
        self.addCleanup(shutil.rmtree, directory)
        ancient = pathlib.Path(directory, "ancient")
        ancient.write_bytes(b"1")
        file = str(self.write("file", b"content"))
        for seconds, status in ((1_193_046 * HOUR + 1, 1), (1_193_046 * HOUR - 90, 0)):
            self.read_ago(ancient, seconds)
            done = self.run_tool("cache", "put", file, "--directory", directory)
            self.assertEqual((done.returncode, b"so old" in done.stderr), (status, status == 1))
            self.assertTrue(ancient.exists())

    def doctor(self, *words, status=1):
        told = self.json("cache", "doctor", *words, status=status)
        return " / ".join(f["severity"] + " " + f["finding"] for f in told["findings"])

    def test_the_doctor_finds_what_hurts(self):
        copy = self.copy("good", b"good")
        parameters = [
            ("", 0, ""), (":48:noflush", 0, ""), (":0", 1, '"0", which is taken for 48'),
            (":abc", 1, '"abc"'), (":70000", 1, "take 70000 for 4464"), (":48:FLUSH", 1, "clears"),
            (":1193047", 1, "wraps to 1,904 s"), (":b/c", 1, '"b/c"'),
        ]  # fmt: skip
        for rest, status, expected in parameters:
            told = self.doctor("--parameter", str(self.directory) + rest, status=status)
            self.assertTrue(expected in told and (status or not told), (rest, told))
        self.assertIn("nothing makes it", self.doctor("--directory", str(self.scratch / "none")))
        self.assertIn("note No such", self.doctor(status=0))
        self.write("cache/stranger", mode=0o600)
        (self.directory / "dangling").symlink_to("nowhere")
        (self.directory / "folder").mkdir()
        os.mkfifo(self.directory / f"pipe.{EMPTY}", 0o600)
        (self.directory / copy).chmod(0o644)
        self.read_ago(self.directory / copy, -1000)
        self.directory.chmod(0o755)
        told = self.doctor(*self.at)
        for text in ("0755", "no digest in their names", "they are: stranger", "links to nothing",
                     "directories, which", "empty: such", "neither", "by others: good",
                     "the future"):  # fmt: skip
            self.assertIn(text, told)

    @unittest.skipIf(subprocess.run(["unshare", "-m", "true"], capture_output=True).returncode,
                     "may not mount a file system")
    def test_the_doctor_asks_the_file_system(self):
        script = """mount -t tmpfs -o "mode=0700,$1" none "$2"
                    exec "$3" cache doctor --parameter "$2:$4" """
        rows = [("noatime", 48, "no access times"), ("relatime", 12, "24 hours"),
                ("relatime", 48, ""), ("strictatime", 12, "")]  # fmt: skip
        for option, hours, expected in rows:
            done = subprocess.run(["unshare", "-m", "sh", "-c", script, "sh", option,
                                   str(self.directory), TOOL, str(hours)],
                                  capture_output=True, text=True)  # fmt: skip
            self.assertEqual(done.stderr, "")
            self.assertEqual(done.returncode, 1 if expected else 0, (option, done.stdout))
            self.assertIn(expected, done.stdout)

    def test_progress_is_for_a_terminal(self):
        self.copy("large", bytes(8 << 20))
        shown = self.on_terminal("cache", "verify", *self.at, to="stderr")
        self.assertEqual((shown.count(b"[##"), shown[-4:]), (8, b"\r\x1b[K"))


if __name__ == "__main__":
    unittest.main()
