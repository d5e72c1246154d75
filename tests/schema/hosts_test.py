"""What two real hosts, keltoctl and the example in C, say to the library, against the schemas."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import contract

SHIM, KELTOCTL, EXAMPLE = sys.argv[1:4]
del sys.argv[1:]


class Host:
    """A folder of its own to live in, and the exchanges that were made there."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.environment = {
            "PATH": os.environ["PATH"],
            "LC_ALL": "C.UTF-8",
            "XDG_DATA_HOME": str(self.folder / "data"),
            "XDG_STATE_HOME": str(self.folder / "state"),
            "KELTO_EXCHANGES": str(self.folder / "exchanges"),
            "LD_PRELOAD": SHIM,
        }

    def run(self, *command):
        return subprocess.run(
            command, env=self.environment, cwd=self.folder, check=True, capture_output=True,
            text=True, stdin=subprocess.DEVNULL,
        ).stdout

    def exchanges(self):
        lines = (self.folder / "exchanges").read_text(encoding="utf-8").split("\n")[:-1]
        return [contract.parsed(line) for line in lines]


class RealHosts(unittest.TestCase):
    def check(self, exchanges, refused=0):
        errors = 0
        for number, exchange in enumerate(exchanges):
            with self.subTest(exchange=number):
                self.assertEqual(contract.response_faults(exchange["response"]), [])
                if "error" in exchange["response"]:
                    errors += 1
                    self.assertNotEqual(contract.faults(contract.REQUEST, exchange["request"]), [])
                else:
                    self.assertEqual(contract.faults(contract.REQUEST, exchange["request"]), [])
        self.assertEqual(errors, refused)

    def test_keltoctl_is_a_careful_host(self):
        with tempfile.TemporaryDirectory() as folder:
            host = Host(folder)

            def keltoctl(*arguments):
                return host.run(KELTOCTL, *arguments)

            samples = str(contract.ROOT / "samples/library")
            keltoctl("import", samples, "--link", "--tag", "sample")
            notes = keltoctl("list", "--kind", "note", "--json")
            identifier = re.search(r'"uuid": *"([^"]+)"', notes).group(1)
            keltoctl("edit", identifier, "--title", "Edited", "--thumbnail", f"{samples}/Orbits.gif")
            keltoctl("trash", identifier)
            keltoctl("restore", identifier)
            keltoctl("add", "quote", "Let it be", "--author", "Ida", "--tag", "wood", "--star")
            keltoctl("delete", identifier, "--yes")
            exchanges = host.exchanges()
        self.assertGreater(len(exchanges), 4)
        self.check(exchanges)
        sent = [record for e in exchanges for record in e["request"]["records"]]
        self.assertEqual({record["recordType"] for record in sent}, {"Project", "Tag", "Thing"})
        # The records that came to no harm are of all sorts.
        keys = set().union(*sent)
        self.assertLessEqual({"deleted", "trashedAt", "data", "thumbnail"}, keys)
        self.assertLessEqual({"baseFileFingerprint", "linkedFolderOwner", "metadataJson"}, keys)

    def test_the_example_is_a_careful_host_but_for_its_mistake(self):
        with tempfile.TemporaryDirectory() as folder:
            host = Host(folder)
            host.run(EXAMPLE, str(contract.ROOT / "samples/library"))
            exchanges = host.exchanges()
        self.assertEqual(len(exchanges), 4)
        self.check(exchanges, refused=1)


if __name__ == "__main__":
    unittest.main()
