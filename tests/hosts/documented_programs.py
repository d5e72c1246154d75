"""Runs what the documentation tells its readers to copy, in the order of each page.

A fence says after its language what it is for; a fence without such a word is not looked at.

    ```c file=hello.c     becomes this file
    ```sh run             is run, from a folder in which the tree's folders stand, as at its root
    ```text output        is what the last run has printed; “…” stands for anything within a line
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KELTO_BUILD"])
FENCE = re.compile(r"^```(\w+) (file=\S+|run|output)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


class Desk:
    """What a reader has who stands at the root of a built tree; a home of its own beside it."""

    def __init__(self, folder):
        self.folder = Path(folder)
        for name in ("docs", "examples", "include", "samples"):
            (self.folder / name).symlink_to(SOURCE / name)
        (self.folder / "build").mkdir()
        (self.folder / "build/release").symlink_to(BUILD)
        path = os.pathsep.join((os.path.dirname(sys.executable), os.environ["PATH"]))
        self.environment = {"PATH": path, "HOME": str(self.folder / "home"), "LANG": "C.UTF-8",
                            "PYTHONDONTWRITEBYTECODE": "1"}

    def run(self, commands):
        return subprocess.run(["bash", "-euo", "pipefail", "-c", commands], cwd=self.folder,
                              env=self.environment, capture_output=True, text=True, timeout=60,
                              check=False)


def pattern(expected):
    return ".*".join(map(re.escape, expected.split("…")))


class Documentation(unittest.TestCase):
    def follow(self, page):
        desk = Desk(tempfile.mkdtemp(prefix="kelto-docs-"))
        self.addCleanup(shutil.rmtree, desk.folder)
        printed, runs = None, 0
        for fence in FENCE.finditer((SOURCE / page).read_text("utf-8")):
            _, purpose, text = fence.groups()
            if purpose == "output":
                self.assertIsNotNone(printed, "an output without a run")
                self.assertRegex(printed, r"\A" + pattern(text) + r"\Z")
            elif purpose == "run":
                result = desk.run(text)
                self.assertEqual((result.returncode, result.stderr), (0, ""), text)
                printed, runs = result.stdout, runs + 1
            else:
                (desk.folder / purpose.removeprefix("file=")).write_text(text, "utf-8")
        self.assertGreater(runs, 0, "nothing was run")

    def test_every_page_with_programs_is_followed(self):
        pages = [each.relative_to(SOURCE).as_posix() for each in
                 [SOURCE / "README.md", *sorted((SOURCE / "docs").glob("*.md"))]
                 if FENCE.search(each.read_text("utf-8"))]
        self.assertLessEqual({"docs/hosting-c.md", "docs/hosting-csharp.md",
                              "docs/hosting-python.md"}, set(pages))
        for page in pages:
            with self.subTest(page):
                self.follow(page)

    def test_an_output_that_is_not_printed_is_noticed(self):
        self.assertNotRegex("two lines\nand more\n", r"\A" + pattern("two …\n") + r"\Z")
        self.assertRegex("two lines\n", r"\A" + pattern("two …\n") + r"\Z")


if __name__ == "__main__":
    unittest.main()
