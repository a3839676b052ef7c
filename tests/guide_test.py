"""Checks that the pages of the guide show their programs step by step, with the right output.

Usage: guide_test.py BUILD_FOLDER SOURCE_FOLDER
"""

import pathlib
import re
import subprocess
import sys
import unittest

from programs import launched

BUILD = SOURCE = None


def blocks(page, language):
    return re.findall(rf"^```{language}\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)


class Guide(unittest.TestCase):
    def test_pages(self):
        programs = sorted([*SOURCE.glob("*.c"), *SOURCE.glob("*.cpp")])
        self.assertGreater(len(programs), 11)
        for program in programs:
            page = program.with_suffix(".md").read_text(encoding="utf-8")
            steps = "\n".join(blocks(page, program.suffix[1:]))
            self.assertEqual(steps, program.read_text(encoding="utf-8"), program)
            done = subprocess.run([BUILD / program.stem], encoding="utf-8", timeout=120,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            self.assertEqual((done.returncode, done.stdout), (0, "".join(blocks(page, "text"))), program)

    def test_index_and_links(self):
        """Every page is in the index and links to the next one, and every link leads to a file."""
        index = re.findall(r"\((\w+\.md)\)", (SOURCE / "README.md").read_text(encoding="utf-8"))
        for page in SOURCE.glob("*.md"):
            text = re.sub(r"^```.*?^```$", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)
            for link in re.findall(r"\]\(([^)]*)\)", text):
                self.assertTrue((SOURCE / link).exists(), f"{page.name}: {link}")
            if page.name != "README.md":
                after = [*index, "README.md"][index.index(page.name) + 1]
                self.assertRegex(text, rf"\nNext: .*\({after}\)\n\Z", page.name)


if __name__ == "__main__":
    BUILD, SOURCE = map(pathlib.Path, (launched(sys.argv[1]), sys.argv[2]))
    unittest.main(argv=sys.argv[:1])
