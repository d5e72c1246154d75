"""Requests and responses of random histories against the schemas.

The histories are made to hold what broken hosts send as well, so a request may well be refused by
its schema; what must never happen is that the library refuses the form of one that passes.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import contract

PROGRAM = pathlib.Path(sys.argv.pop())
REFUSALS_OF_FORM = {
    "Invalid bridge request.",
    "Unknown iCloud record type.",
    "Invalid record identifier.",
}
# What the library hands back as a host has once sent it, careful or not.
KEPT_AS_SENT = {"kind", "fileSize", "aspectRatio"}
REFERENCES = {"Project": "writtenProject", "Tag": "writtenTag", "Thing": "writtenThing"}


def played(histories, first_seed):
    with tempfile.TemporaryDirectory() as folder:
        exchanges = pathlib.Path(folder, "exchanges")
        environment = {
            **os.environ,
            "KELTO_EXCHANGES": str(exchanges),
            "KELTO_HISTORIES": str(histories),
            "KELTO_SEED": str(first_seed),
        }
        command = [PROGRAM, "--gtest_brief=1", "--gtest_filter=RandomHistory.*"]
        subprocess.run(command, env=environment, check=True, stdout=subprocess.DEVNULL)
        lines = exchanges.read_text(encoding="utf-8").split("\n")[:-1]
    return [contract.parsed(line) for line in lines]


class Histories(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.exchanges = played(histories=40, first_seed=1)
        # A record that nobody has changed comes back again and again: one look at it is enough.
        cls.written = {}
        for exchange in cls.exchanges:
            for record in exchange["response"].get("records", []):
                cls.written[repr(record)] = record

    def test_responses_are_as_described(self):
        good = {
            key for key, record in self.written.items()
            if not contract.faults(contract.WRITTEN, record)
        }
        successes = errors = 0
        for number, exchange in enumerate(self.exchanges):
            response = exchange["response"]
            with self.subTest(exchange=number):
                if "error" in response:
                    errors += 1
                    self.assertEqual(contract.faults(contract.ERROR, response), [])
                    continue
                successes += 1
                unknown = [r for r in response["records"] if repr(r) not in good]
                # With what is known to be good left out, the document is looked at as a whole.
                faults = contract.faults(contract.RESPONSE, {**response, "records": unknown})
                self.assertEqual(faults, [])
        self.assertGreater(successes, 300)
        self.assertGreater(errors, 30)

    def test_requests_that_pass_are_never_refused_for_their_form(self):
        passed = refused = 0
        for number, exchange in enumerate(self.exchanges):
            if exchange["response"].get("error") in REFUSALS_OF_FORM:
                refused += 1
                with self.subTest(exchange=number, error=exchange["response"]["error"]):
                    self.assertFalse(contract.REQUEST.is_valid(exchange["request"]))
            elif contract.REQUEST.is_valid(exchange["request"]):
                passed += 1
        # Few of these hosts are careful; those of hosts_test.py are.
        self.assertGreaterEqual(passed, 25)
        self.assertGreaterEqual(refused, 10)

    def test_what_was_received_may_be_sent_back(self):
        for record in self.written.values():
            faults = {path.split("/")[0] for path, *_ in contract.faults(contract.SENT, record)}
            self.assertLessEqual(faults, KEPT_AS_SENT, record)

    def test_every_key_has_been_seen_and_every_optional_one_missed(self):
        for record_type, reference in REFERENCES.items():
            schema = contract.RECORD[reference]
            records = [r for r in self.written.values() if r["recordType"] == record_type]
            for key in schema["properties"]:
                seen = sum(key in record for record in records)
                self.assertGreater(seen, 0, f"{record_type}.{key}")
                if key not in schema["required"]:
                    self.assertLess(seen, len(records), f"{record_type}.{key}")


if __name__ == "__main__":
    unittest.main()
