"""What `cul catalog lint` finds in catalogs that gencat made, and in damaged ones."""

import unittest

from tool import ToolTest

WORDS = [f"{number} some words {number}" for number in range(1, 8)]


class Lint(ToolTest):
    def findings(self, *catalogs, status=1):
        told = self.json("catalog", "lint", *catalogs, status=status)
        return [(f["severity"], f["message"], f["finding"]) for f in told["findings"]]

    def test_one_catalog(self):
        rows = [
            (["1 %1 and %2, 50% %, %0 %s"], []),
            (["1 %1 %2 %10"], [("wrong", "1:1", "%1 is put in where %10 stands")]),
            (["3 %23 %19"], [("wrong", "1:3", "%2 is put in where %23 stands")]),
            (["32767 fits", "$set 8191", "1 fits"], []),
            (["32768 a"], [("wrong", "1:32768", "the number is not from 1 to 32767")]),
            (["$set 8192", "1 a"], [("wrong", "8192:1", "the set is not from 1 to 8191")]),
        ]
        for lines, expected in rows:
            name = self.catalog("one", *lines)
            self.assertEqual(self.findings(name, status=1 if expected else 0), expected, lines)

    def test_two_catalogs(self):
        original = ["1 %1 in %2", "2 both %1 %1", "3 gone", *WORDS[3:]]
        changed = ["1 %1 dans", "2 %1", "4 plus", "9 \u00fcbrig"]
        self.assertEqual(
            self.findings(self.catalog("a", *original), self.catalog("b", *changed)),
            [("wrong", "1:1", "has %1, the original %1 %2"), ("wrong", "1:3", "is missing: gone")]
            + [("wrong", f"1:{n}", f"is missing: some words {n}") for n in (5, 6, 7)]
            + [("wrong", "1:9", "is not in the original: \u00fcbrig")],
        )
        same = self.findings(self.catalog("a", *WORDS), self.catalog("b", *WORDS), status=0)
        self.assertEqual(len(same), 1)
        self.assertIn("7 of 7 texts are the original's", same[0][2])

    def test_a_text_of_another_codeset(self):
        self.catalog("good", "1 gr\u00fcn")
        content = (self.scratch / "good").read_bytes()
        self.write("latin", content.replace(b"gr\xc3\xbcn", b"gr\xfcnn"))
        told = self.cul("catalog", "lint", "latin", status=1)
        self.assertIn(b"is not UTF-8: gr\\xFCnn", told)

    def test_what_is_no_whole_catalog(self):
        content = (self.scratch / self.catalog("whole", *WORDS)).read_bytes()
        for at in range(0, len(content), 11):
            for damaged in (content[:at], content[:at] + b"\xff" + content[at + 1 :]):
                self.write("damaged", damaged)
                done = self.run_tool("catalog", "lint", "damaged")
                said = done.stderr.count(b"\n")
                self.assertIn((done.returncode, said), ((0, 0), (1, 0), (1, 1)), damaged)
        self.assertIn("no compiled catalog", self.refusal("catalog", "lint", "whole.msg"))
        self.assertIn("No such file", self.refusal("catalog", "lint", "none"))


if __name__ == "__main__":
    unittest.main()
