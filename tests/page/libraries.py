"""Libraries to make pages of, filled through keltoctl in folders of their own."""

import json
import os
import subprocess
import uuid

KINDS = ["image", "video", "link", "tweet", "github", "quote", "document", "note"]


class Library:
    def __init__(self, keltoctl, folder):
        self.keltoctl = keltoctl
        self.folder = folder
        os.makedirs(folder, exist_ok=True)

    def run(self, *arguments, host="here", text=""):
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8",
                       "XDG_DATA_HOME": os.path.join(self.folder, "data"),
                       "XDG_STATE_HOME": os.path.join(self.folder, "state-" + host)}
        done = subprocess.run([self.keltoctl, *arguments], input=text, env=environment,
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise AssertionError(f"keltoctl {arguments}: {done.stderr}")
        return done.stdout

    def json(self, *arguments, **options):
        return json.loads(self.run("--json", *arguments, **options))

    def identifier(self, title):
        found = [thing["uuid"] for thing in self.json("list")["things"] if thing["displayTitle"] == title]
        if len(found) != 1:
            raise AssertionError(f"{len(found)} things are called {title}")
        return found[0]

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode())
        return path

    def send(self, records):
        """One exchange of a host that is not keltoctl."""
        request = {"version": 1, "storePath": self.json("status")["storePath"],
                   "directory": os.path.join(self.folder, "raw"), "records": records}
        self.run("exchange", self.write("request.json", json.dumps(request)))

    def page(self, name, *options):
        path = os.path.join(self.folder, name)
        return path, self.json("page", path, "--force", *options)


def make_conflict(library, title="Plan", folder="box"):
    """A linked note that this host and another one change, each without knowing of the other."""
    shared = "Buy paint\nBorrow a ladder\nPaint the boat\n"
    file = f"{folder}/{title}.note.md"
    box = os.path.dirname(library.write(file, shared))
    library.run("import", box, "--link")
    note = library.identifier(title)
    library.run("edit", note, "--content", "Buy blue paint\nBorrow a ladder\nPaint the boat\n", host="there")
    library.write(file, shared + "Launch it before the rain\n")
    library.run("import", box, "--link")


def many(library, count):
    """A library of `count` things of all kinds, in fifty projects, a quarter of them with pictures."""
    picture = ("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 4 3'><path d='M0 0h4v3H0z' "
               "fill='#{:06x}'/></svg>")
    name = lambda number: str(uuid.UUID(int=number + (1 << 100)))
    records = [{"recordType": "Project", "uuid": name(at), "name": f"Project {at}", "createdAt": at,
                **({"parent": name(at // 10)} if at >= 10 else {})} for at in range(1, 51)]
    records += [{"recordType": "Tag", "uuid": name(100 + at), "name": f"tag{at}", "createdAt": at}
                for at in range(40)]
    for at in range(count):
        kind = KINDS[at % len(KINDS)]
        thing = {"recordType": "Thing", "uuid": name(1000 + at), "kind": kind,
                 "title": f"Thing {at} of a räther large library",
                 "content": f"Line one of thing {at}.\n" + "Some words that are looked through. " * 12,
                 "note": f"remark{at}", "createdAt": 1_700_000_000_000 + at * 1000,
                 "updatedAt": 1_700_000_000_000 + at * 1000, "project": name(1 + at % 50),
                 "tags": [name(100 + at % 40)]}
        if kind in ("link", "tweet", "github"):
            thing["urlString"] = f"https://example.org/path/{at}"
        if kind in ("image", "video"):
            thing["thumbnail"] = library.write(f"raw/in/{at}", picture.format(at * 1667 % 0xffffff))
        records.append(thing)
    library.send(records)
