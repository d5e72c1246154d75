"""A host in Python for tests: examples/python/kelto.py on a library of its own."""
import os
import shutil
import sys
import tempfile
import threading
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
LIBRARY = os.environ["KELTO_BUILD"] + "/lib/libkelto.so.1"
sys.path.insert(0, str(SOURCE / "examples/python"))

import glib_turns  # noqa: E402
import kelto  # noqa: E402

# The library lies where the first exchange finds it, for as long as the process lives.
folder = Path(tempfile.mkdtemp(prefix="kelto-python-"))
unittest.addModuleCleanup(shutil.rmtree, folder)
os.environ["XDG_DATA_HOME"] = str(folder / "data")
for switch in ("KELTO_DISABLE_CLOUDKIT", "KELTO_CLOUDKIT_ENABLED"):
    os.environ.pop(switch, None)
bridge = kelto.Bridge(LIBRARY)

A = "7f0c9a52-6d1e-4b3f-8a27-1c5e9d40b6a1"
B = "7f0c9a52-6d1e-4b3f-8a27-1c5e9d40b6a2"


def request(*records, directory="Exchange", **members):
    return {"version": 1, "storePath": str(folder / "data/group.app.kelto/Library/Kelto.store"),
            "directory": str(folder / directory), "records": list(records), **members}


def note(uuid, title, updated_at, **fields):
    return {"recordType": "Thing", "uuid": uuid, "kind": "note", "title": title,
            "createdAt": 1760000000000, "updatedAt": updated_at, **fields}


def thing(answer, uuid):
    return next(each for each in answer["records"] if each["uuid"] == uuid)


class Environment:
    """Variables for the time of a block; None: not there."""

    def __init__(self, **variables):
        self._variables = variables

    def __enter__(self):
        self._before = {name: os.environ.get(name) for name in self._variables}
        self._set(self._variables)

    def __exit__(self, *_):
        self._set(self._before)

    @staticmethod
    def _set(variables):
        for name, value in variables.items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value


def start_raw(data, answered):
    """Bytes as they are, past what this host checks."""
    ticket = next(kelto._tickets)
    kelto._waiting[ticket] = answered
    bridge._library.kelto_apple_exchange(data, ticket, kelto._answered)


def turn_until(done):
    """Turns the main loop until a list is not empty or a function is true."""
    glib_turns.turn_until(done if callable(done) else lambda: done)


def in_threads(count, function):
    threads = [threading.Thread(target=function, args=(number,)) for number in range(count)]
    for each in threads:
        each.start()
    for each in threads:
        each.join()
