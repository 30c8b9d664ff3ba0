"""What `cul find` explains, held against what stands on the disk."""

import os
import re
import subprocess
import unittest

from tool import ToolTest


class Find(ToolTest):
    def explained(self, *words, status=0):
        told = self.json("find", *words, "--explain", status=status)
        places = [(p["stage"], p["directory"], p["verdict"], p["file"]) for p in told["searched"]]
        return told, places

    def test_every_place_has_its_verdict(self):
        self.write("empty/other")
        self.write("directory/x/y")
        self.write("plain/x", mode=0o644)
        self.write("good/x", mode=0o755)
        (self.scratch / "alias").symlink_to("plain")
        (self.scratch / "dangling").mkdir()
        (self.scratch / "dangling/x").symlink_to("nothing")
        path = "empty:none:directory:dangling:plain:alias:good:"
        told, places = self.explained("exe", "x", "--path", path)
        self.assertEqual(places, [
            ("working directory", ".", "not there", None),
            ("PATH", "empty", "not there", None),
            ("PATH", "none", "no such directory", None),
            ("PATH", "directory", "a directory", None),
            ("PATH", "dangling", "a link to nothing", None),
            ("PATH", "plain", "found, not executable", "plain/x"),
            ("PATH", "alias", "the same file", "alias/x"),
            ("PATH", "good", "shadowed", "good/x"),
        ])  # fmt: skip
        self.assertEqual((told["name"], told["found"]), ("x", "plain/x"))
        self.assertEqual(self.cul("find", "exe", "x", "--path", path), b"plain/x\n")
        every = self.cul("find", "exe", "--all", "--path=" + path, "x")
        self.assertEqual(every, b"plain/x\nalias/x\ngood/x\n")
        self.write("x")
        self.assertEqual(self.cul("find", "exe", "x", "--path", path), b"./x\n")
        self.assertIn("not found", self.refusal("find", "exe", "y", "--path", path))
        whole = str(self.scratch / "good/x")
        self.assertEqual(self.explained("exe", whole)[1], [("as it stands", None, "found", whole)])

    def test_modules_are_looked_for_in_the_engines_order(self):
        self.write("b/libx.so")
        self.write("now/libx.so")
        told, places = self.explained("module", "libx.so", "--path", "a:b:", "--current", "now")
        stages = [place[:3] for place in places]
        self.assertEqual(stages, [
            ("LD_LIBRARY_PATH", "a", "no such directory"), ("LD_LIBRARY_PATH", "b", "found"),
            ("LD_LIBRARY_PATH", ".", "not there"), ("current directory", "now", "shadowed"),
            ("system", "/usr/lib", "not there"), ("system", "/lib", "not there"),
        ])  # fmt: skip
        self.assertEqual(self.cul("find", "module", "b/libx.so(y.o)"), b"./b/libx.so(y.o)\n")

    def test_modules_are_those_of_the_loader(self):
        listed = {}
        for name, path in re.findall(r"(\S+) \(libc6,x86-64.*=> (\S+)",
                                     self.program("/sbin/ldconfig", "-p")):  # fmt: skip
            listed.setdefault(name, []).append(path)
        folders = {os.path.dirname(file) for files in listed.values() for file in files}
        path = ":".join(sorted(folders))
        for name, files in listed.items():
            found = os.fsdecode(self.cul("find", "module", name, "--path", path)).strip()
            self.assertIn(found, files)
        (self.scratch / "second").mkdir()
        (self.scratch / "second/libc.so.6").symlink_to(listed["libc.so.6"][0])
        told, places = self.explained("module", "libc.so.6", "--path", "first:second:" + path)
        loader = dict(self.environment, LD_LIBRARY_PATH="first:second:" + path, LD_DEBUG="libs")
        done = subprocess.run("/bin/true", cwd=self.scratch, env=loader, stderr=subprocess.PIPE)
        tried = [os.path.split(file)
                 for file in re.findall(r"trying file=(\S+)", done.stderr.decode())]  # fmt: skip
        # The loader also tries what stands below a directory for the processor's own kind.
        tried = [place for place in tried if place[0] in ("first", "second", *folders)]
        self.assertEqual([("first", "libc.so.6"), ("second", "libc.so.6")], tried)
        self.assertEqual([place[1] for place in places[:2]], ["first", "second"])
        self.assertEqual(told["found"], "second/libc.so.6")

    def test_sources_are_looked_for_in_the_engines_order(self):
        for name in ("t1/deep/m.c", "t1/z/m.c", "t2/m.c", "conf/m.c"):
            self.write(name)
        words = ["source", "../src/m.c", "--path", "t0:t1:t2", "--configured", "conf"]
        told, places = self.explained(*words, "--current", "t1")
        self.assertEqual(places, [
            ("as it stands", None, "not there", None),
            ("tree of --path", "t0", "no such directory", None),
            ("tree of --path", "t1", "found", "t1/deep/m.c"),
            ("tree of --path", "t1", "shadowed", "t1/z/m.c"),
            ("tree of --path", "t2", "shadowed", "t2/m.c"),
            ("working directory", ".", "not there", None),
            ("configured tree", "conf", "shadowed", "conf/m.c"),
        ])  # fmt: skip
        self.assertEqual(told["real"], str(self.scratch / "t1/deep/m.c"))
        _, places = self.explained(*words, "--current", ".")
        self.assertNotIn("working directory", [place[0] for place in places])
        self.explained("source", "no/file/", "--path", "t1", status=1)

    def test_names_of_any_bytes_come_out_whole(self):
        name = b"odd \xff\n\x1b[31m\xc2\x9b\"\\"
        self.write(b"d/" + name)
        words = ["find", "exe", os.fsdecode(name), "--path", "d"]
        self.assertEqual(self.cul(*words), b"d/" + name + b"\n")
        self.assertEqual(os.fsencode(self.json(*words)["found"]), b"d/" + name)
        told = self.cul(*words, "--explain")
        self.assertIn(rb"d/odd \xFF\x0A\x1B[31m\xC2\x9B" + b'"\\\n', told)
        self.assertEqual(told.count(b"\n"), 7)


if __name__ == "__main__":
    unittest.main()
