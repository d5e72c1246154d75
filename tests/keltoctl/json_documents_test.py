#!/usr/bin/env python3
"""json_documents_test.py KELTOCTL SAMPLES SCHEMA: runs every command with --json on a library of the
samples and holds what it prints against the schema. 77: there is no validator on this machine."""

import json
import os
import subprocess
import sys
import tempfile

try:
    import jsonschema
except ImportError:
    print("there is no python3-jsonschema; the documents were not looked at", file=sys.stderr)
    sys.exit(77)

keltoctl, samples, schema_file = sys.argv[1:]
folder = tempfile.TemporaryDirectory(prefix="keltoctl-")
environment = {
    "PATH": os.environ["PATH"],
    "XDG_DATA_HOME": folder.name + "/data",
    "XDG_STATE_HOME": folder.name + "/state",
    "LC_ALL": "C.UTF-8",
    "TZ": "UTC",
}
failures = []
seen = set()


def closed(schema):
    """The schema with nothing allowed that it does not name: what it forgets is found here."""
    if isinstance(schema, list):
        return [closed(one) for one in schema]
    if not isinstance(schema, dict):
        return schema
    result = {key: closed(value) for key, value in schema.items()}
    if "properties" in schema and isinstance(schema.get("type"), str):
        result.setdefault("additionalProperties", False)
    return result


with open(schema_file, encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
strict = closed(schema)


def run(*arguments, status=0, given=""):
    """Runs a command that ends with that status, and answers its document once it fits."""
    outcome = subprocess.run(
        [keltoctl, "--json", *arguments],
        env=environment, input=given, capture_output=True, encoding="utf-8", check=False, timeout=60)
    name = arguments[0]
    spoken = "keltoctl " + " ".join(arguments)
    seen.add(name)
    if outcome.returncode != status:
        failures.append(f"{spoken}: status {outcome.returncode} instead of {status}: {outcome.stderr}")
        return None
    document = json.loads(outcome.stdout)
    validator = jsonschema.Draft202012Validator({**strict, "$ref": "#/$defs/" + name})
    for error in validator.iter_errors(document):
        failures.append(f"{spoken}: {error.json_path}: {error.message[:500]}")
    return document


def path(name):
    return os.path.join(folder.name, name)


def saved(name, document):
    with open(path(name), "w", encoding="utf-8") as file:
        json.dump(document, file)
    return path(name)


run("import", samples, "--dry-run")
if os.path.exists(path("data/group.app.kelto/Library/Kelto.store")):
    failures.append("import --dry-run has made a library")
run("import", samples, "--tag", "sample")
run("tree")
things = run("list")["things"]
if len(things) < 20:
    failures.append(f"only {len(things)} things were imported")
thing, other = things[0]["uuid"], things[1]["uuid"]
run("show", thing)
run("show", things[0]["project"])
run("show", things[0]["tags"][0])
run("list", "--kind", "note")
run("add", "note", "bread", "--tag", "new", "--dry-run")
run("add", "note", "bread", "--tag", "new")
run("edit", thing, "--title", "Another", "--dry-run")
run("edit", thing, "--title", "Another", "--author", "Somebody")
run("tag", other, "--add", "seen", "--dry-run")
run("tag", other, "--add", "seen")
run("move", other, "--top", "--dry-run")
run("move", other, "--top")
run("trash", other, "--dry-run")
run("trash", other)
run("list", "--trashed")
run("restore", other, "--dry-run")
run("restore", other)
run("delete", other, "--dry-run")
run("delete", other, "--yes")
run("export", path("out"), "--dry-run")
if os.path.exists(path("out")):
    failures.append("export --dry-run has made a folder")
run("export", path("out"))
run("exchange", "--dry-run")
run("exchange")
status = run("status")
run("group-path")
run("available")
run("doctor")
run("doctor", "--repair", "--yes")
run("page", path("library.html"))
run("backup", path("backup.tar"), "--dry-run")
if os.path.exists(path("backup.tar")):
    failures.append("backup --dry-run has written a file")
run("backup", path("backup.tar"))
run("restore-backup", path("backup.tar"), "--check")
run("restore-backup", path("backup.tar"), "--yes")

request = {
    "version": 1,
    "storePath": status["storePath"],
    "directory": path("exchange"),
    "records": [
        {"recordType": "Thing", "uuid": thing, "title": "Older", "updatedAt": 1},
        {"recordType": "Thing", "uuid": "0" * 8 + thing[8:], "title": "New", "updatedAt": 1},
        {"recordType": "Tag", "uuid": things[0]["tags"][0], "deleted": True},
        {"recordType": "Tag", "uuid": "0" * 8 + thing[8:], "deleted": True},
    ],
}
decisions = run("explain", saved("request.json", request))["decisions"]
if [one["decision"] for one in decisions] != ["skip", "create", "delete", "nothing"]:
    failures.append(f"explain decides otherwise: {decisions}")
run("explain", "-", status=1, given="{}")
run("explain")
snapshot = os.path.join(status["stateFolder"], "snapshot.json")
run("diff", snapshot, snapshot)
differing = run("diff", snapshot, path("request.json"), status=1)
if {"onlyInA", "onlyInB", "changed"} != {one["difference"] for one in differing["records"]}:
    failures.append("diff does not tell the differences")

# Every command has its document: help lists them.
text = subprocess.run([keltoctl, "--help"], env=environment, capture_output=True, encoding="utf-8",
                      check=True).stdout
for line in text.split("Subcommands:")[1].splitlines():
    if line.startswith("  ") and line[2] != " " and line.split()[0] not in seen:
        failures.append(f"{line.split()[0]} was not run")
for failure in failures:
    print(failure, file=sys.stderr)
sys.exit(1 if failures else 0)
