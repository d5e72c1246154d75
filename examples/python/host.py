#!/usr/bin/env python3
"""A whole host: a folder's files are its library, which it keeps together with the shared copy.

    KELTO_LIBRARY=build/release/lib/libkelto.so.1 python3 examples/python/host.py samples/library

A second argument is the title that it gives to the file Orbits.gif.
"""
import asyncio
import hashlib
import json
import os
import shutil
import sys
import time
import uuid
from pathlib import Path

import kelto

KINDS = {"png": "image", "jpg": "image", "gif": "image", "webp": "image", "svg": "image",
         "mp4": "video", "webm": "video"}
PAYLOADS = ("data", "thumbnail", "icon")


def identifier(path):
    """A host draws a random UUID for a new thing, and keeps it. This one takes the path's digest,
    so that the hosts of this folder in other languages mean the same things."""
    return str(uuid.UUID(hashlib.md5(os.fsencode(path)).hexdigest()))


def text_of(name):
    """A name of the file system, which may be any bytes, as a text."""
    return os.fsencode(name).decode("utf-8", "replace")


def kind_of(name):
    if ".note." in name:
        return "note"
    if ".quote." in name:
        return "quote"
    return KINDS.get(name.rsplit(".", 1)[-1], "document")


class HostLibrary:
    """This host's own copy: every record as it was last received or edited, in one JSON file.

    A record from the library carries its fingerprint and its fileFingerprint, so these are kept in
    the same file, and change in the same moment, as the thing itself."""

    def __init__(self, home, store_path):
        self.store_path = store_path
        self.exchange_folder = home / "Exchange"
        self.outgoing = self.exchange_folder / "outgoing"
        self.outgoing.mkdir(mode=0o700, parents=True, exist_ok=True)
        self.file = home / "library.json"
        saved = json.loads(self.file.read_text("utf-8")) if self.file.exists() else {}
        self.records = saved.get("records", {})
        self.changed = set(saved.get("changed", []))

    def save(self):
        fresh = self.file.with_suffix(".new")
        text = json.dumps({"records": self.records, "changed": sorted(self.changed)})
        fresh.write_text(text, "utf-8")
        os.replace(fresh, self.file)

    def put(self, record):
        self.records[record["uuid"]] = record
        self.changed.add(record["uuid"])

    def add_folder(self, folder):
        """Takes in what it does not know yet: (files in the folder, new ones among them)."""
        project = {"recordType": "Project", "uuid": identifier("."),
                   "name": text_of(folder.resolve().name), "createdAt": 1760000000000}
        if project["uuid"] not in self.records:
            self.put(project)
        files = [each for each in sorted(folder.rglob("*"))
                 if each.is_file() and not each.name.startswith(".")]
        new = [each for each in files
               if identifier(each.relative_to(folder).as_posix()) not in self.records]
        for file in new:
            self._add(file, identifier(file.relative_to(folder).as_posix()), project["uuid"])
        return len(files), len(new)

    def _add(self, file, thing, project):
        # Payload files must lie inside the exchange folder: a copy, whole before it is named.
        copy = self.outgoing / thing
        shutil.copyfile(file, copy)
        modified = int(file.stat().st_mtime) * 1000
        self.put({"recordType": "Thing", "uuid": thing, "createdAt": modified,
                  "updatedAt": modified, "kind": kind_of(file.name), "title": text_of(file.stem),
                  "fileName": text_of(file.name), "fileSize": file.stat().st_size,
                  "project": project, "data": str(copy)})

    def edit(self, thing, **fields):
        """updatedAt has to grow with each edit, even if the clock was set back."""
        record = dict(self.records[thing], **fields)
        record["updatedAt"] = max(int(time.time() * 1000), record["updatedAt"] + 1)
        self.put(record)

    def request(self):
        """What has changed here, and what of the library's this host holds already."""
        records = [dict(self.records[each]) for each in sorted(self.changed)]
        for record in records:
            if "fileFingerprint" in record:
                record["baseFileFingerprint"] = record["fileFingerprint"]
        known = {"Thing:" + each["uuid"]: each["fingerprint"] for each in self.records.values()
                 if "fingerprint" in each and self._has_files(each)}
        return {"version": 1, "storePath": self.store_path, "directory": str(self.exchange_folder),
                "records": records, "knownFingerprints": known}

    @staticmethod
    def _has_files(record):
        return all(os.path.exists(record[each]) for each in PAYLOADS if each in record)

    def take_over(self, request, answer):
        """Makes the answer's snapshot this host's own; returns the things that are news."""
        sent = {each["uuid"]: each for each in request["records"]}
        news = []
        for record in answer["records"]:
            mine = self.records.get(record["uuid"], {})
            if self._edited_since(record["uuid"], sent):
                continue  # It goes along in the next exchange, and is newer.
            if record["recordType"] == "Thing" and mine.get("fingerprint") != record["fingerprint"]:
                news.append(record)
            self.records[record["uuid"]] = record
            self.changed.discard(record["uuid"])
        answered = {each["uuid"] for each in answer["records"]}
        for gone in [each for each in self.records
                     if each not in answered and not self._edited_since(each, sent)]:
            del self.records[gone]  # Another host has deleted it.
            self.changed.discard(gone)
        self.save()
        for each in sent:
            (self.outgoing / each).unlink(missing_ok=True)
        return news

    def _edited_since(self, thing, sent):
        """Was it edited, or created, after the request was made?"""
        if thing not in self.changed:
            return False
        return thing not in sent or sent[thing].get("updatedAt") != self.records[thing].get(
            "updatedAt")


async def synchronise(heading, bridge, library):
    request = library.request()
    news = library.take_over(request, await bridge.exchange(request))
    files = [each[key] for each in news for key in PAYLOADS if key in each]
    size = sum(os.path.getsize(each) for each in files)
    print(heading)
    print(f"  records sent: {len(request['records'])}; news: {len(news)}, "
          f"with files: {len(files)}, of {size} bytes")
    if len(news) == 1:
        print(f"  “{news[0]['title']}”")


async def story(folder, title):
    bridge = kelto.Bridge()
    data_home = Path(os.environ.get("XDG_DATA_HOME") or Path.home() / ".local/share")
    library = HostLibrary(data_home / "kelto-example-python", bridge.store_path())
    if not folder.is_dir():
        raise kelto.Error(f"The folder “{folder}” couldn’t be read. "
                          "Name one that holds files, samples/library for example.")
    found, new = library.add_folder(folder)
    library.save()
    print(f"files in the folder: {found}, new ones: {new}")
    await synchronise("both sides brought together", bridge, library)
    await synchronise("once more", bridge, library)

    orbits = [each for each, record in library.records.items()
              if record.get("fileName") == "Orbits.gif"]
    if orbits:
        library.edit(orbits[0], title=title)
        library.save()
        await synchronise("a title edited", bridge, library)

    print("a mistake")
    try:
        mistake = {"recordType": "Tag", "uuid": "not-a-uuid"}
        await bridge.exchange(dict(library.request(), records=[mistake]))
    except kelto.Refused as refusal:
        print(f"  not synced: {refusal}")


def main(arguments):
    sys.stdout.reconfigure(encoding="utf-8")
    sys.stderr.reconfigure(encoding="utf-8")
    folder, title = (arguments + ["samples/library", "Orbits, edited"][len(arguments):])[:2]
    try:
        asyncio.run(story(Path(folder), title))
    except (kelto.Error, OSError) as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
