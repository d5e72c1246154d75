"""The schemas against the golden files, the manual's examples, and a table of broken documents."""

import copy
import json
import re
import unittest

import jsonschema

import contract

GOLDEN = contract.ROOT / "tests/golden"
TABLE = json.loads((contract.ROOT / "tests/schema/broken.json").read_text())
BY_NAME = {
    "request": contract.REQUEST,
    "response": contract.RESPONSE,
    "error": contract.ERROR,
    "record": contract.SENT,
}


def cases(name):
    return json.loads((GOLDEN / name).read_text())["cases"]


def changed(document, case):
    document = copy.deepcopy(document)

    def place(path):
        at = document
        *steps, last = path.split("/")
        for step in steps:
            at = at[int(step) if isinstance(at, list) else step]
        return at, int(last) if isinstance(at, list) else last

    for path, value in case.get("set", {}).items():
        at, key = place(path)
        at[key] = value
    for path in case.get("remove", []):
        at, key = place(path)
        del at[key]
    return document


class Schemas(unittest.TestCase):
    def test_are_schemas(self):
        for name, schema in contract.SCHEMAS.items():
            with self.subTest(name):
                jsonschema.Draft202012Validator.check_schema(schema)
                self.assertEqual(schema["$id"], name)

    def test_name_and_describe_what_is_in_them(self):
        def is_described(part):
            if "$ref" in part and "description" not in part:
                return is_described(contract.RECORD[part["$ref"].split("/")[-1]])
            return "description" in part or "const" in part

        objects = dict(contract.SCHEMAS)
        objects |= {name: part for name, part in contract.RECORD.items() if "allOf" in part}
        objects |= {
            name: part for name, part in contract.RECORD.items() if "additionalProperties" in part
        }
        self.assertGreaterEqual(len(objects), 12)
        for name, schema in objects.items():
            self.assertIn("title", schema, name)
            for key, part in schema.get("properties", {}).items():
                self.assertTrue(is_described(part), f"{name}: {key}")

    def test_know_the_keys_that_the_library_reads(self):
        source = (contract.ROOT / "kelto/AppleBridge/RecordKey.cpp").read_text()
        table = re.search(r"texts\{(.*?)\};", source, re.DOTALL).group(1)
        read = set(re.findall(r'"(\w+)"', table))
        described = set()
        for part in ("sentProject", "sentTag", "sentThing"):
            described |= contract.RECORD[part]["properties"].keys()
        self.assertGreater(len(read), 20)
        self.assertEqual(described - {"fingerprint", "fileFingerprint"}, read)

    def test_take_their_own_examples(self):
        for example in contract.SCHEMAS["request.schema.json"]["examples"]:
            self.assertEqual(contract.faults(contract.REQUEST, example), [])


class BrokenDocuments(unittest.TestCase):
    def test_are_made_of_good_ones(self):
        for name, document in TABLE["good"].items():
            with self.subTest(name):
                self.assertEqual(contract.faults(BY_NAME[name], document), [])

    def test_are_refused_where_they_are_broken(self):
        self.assertGreater(len(TABLE["broken"]), 100)
        for case in TABLE["broken"]:
            with self.subTest(case["schema"] + "." + case["name"]):
                document = changed(TABLE["good"][case["schema"]], case)
                places = {path for path, *_ in contract.faults(BY_NAME[case["schema"]], document)}
                fault = case["fault"]
                self.assertEqual(places, set(fault) if isinstance(fault, list) else {fault})

    def test_are_not_taken_for_each_other(self):
        for name in ("request", "response", "error"):
            for other, document in TABLE["good"].items():
                if other != name:
                    with self.subTest(f"{other} as {name}"):
                        self.assertNotEqual(contract.faults(BY_NAME[name], document), [])


class GoldenFiles(unittest.TestCase):
    # What these records hold on purpose that a careful host would not send.
    careless = {
        "Texts": {"createdAt"},
        "TrashedWithPayloads": {"trashedAt", "updatedAt"},
        "SmallAspectRatio": {"fileSize"},
    }

    def test_records_are_what_a_host_sends(self):
        careful = {"createdAt": 0, "updatedAt": 0, "kind": "note"}
        for case in cases("thing-records.json"):
            with self.subTest(case["name"]):
                record = {**careful, **case["input"]["record"]}
                places = {path for path, *_ in contract.faults(contract.SENT, record)}
                self.assertEqual(places, self.careless.get(case["name"], set()))

    def test_canonical_records_are_what_the_library_writes(self):
        for case in cases("thing-records.json"):
            with self.subTest(case["name"]):
                record = json.loads(case["expected"]["canonicalRecord"])
                # In the canonical text payloads stand as digests, and the fingerprint is its own.
                for key in {"data", "thumbnail", "icon"} & record.keys():
                    record[key] = f"/exchange/received/{record['uuid']}.{key}"
                record["fingerprint"] = case["expected"]["fingerprint"]
                self.assertEqual(contract.faults(contract.WRITTEN, record), [])

    def test_fingerprints_and_identifiers_have_their_form(self):
        fingerprint = contract.validator("record.schema.json#/$defs/fingerprint")
        identifier = contract.validator("record.schema.json#/$defs/writtenIdentifier")
        for case in cases("file-fingerprints.json"):
            self.assertEqual(
                contract.faults(fingerprint, case["expected"]["fileFingerprint"]), [])
        for case in cases("conflict-identifiers.json"):
            self.assertEqual(
                contract.faults(identifier, case["expected"]["conflictIdentifier"]), [])


class TheManual(unittest.TestCase):
    def test_shows_documents_that_pass(self):
        text = (contract.ROOT / "docs/exchange-format.md").read_text()
        seen = {"request": 0, "response": 0, "error": 0}
        for block in re.findall(r"```json\n(.*?)```", text, re.DOTALL):
            try:
                document = json.loads(block)
            except json.JSONDecodeError:
                continue  # several records below each other, most of their keys left out
            kind = "error" if "error" in document else "response" if "status" in document \
                else "request"
            seen[kind] += 1
            with self.subTest(block[:60]):
                self.assertEqual(contract.faults(BY_NAME[kind], document), [])
        self.assertGreaterEqual(min(seen.values()), 1, seen)


if __name__ == "__main__":
    unittest.main()
