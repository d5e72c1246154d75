"""Makes the images of README.md: the page of the sample library, light and dark, and a short session.

make_images.py KELTOCTL; ./dev images installs what it needs and calls it. The pictures look as they do with the fonts
Inter, EB Garamond and Noto Color Emoji; others will do."""

import html
import os
import shutil
import sys
import tempfile
import time

FOLDER = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(FOLDER))
sys.path.insert(0, os.path.join(ROOT, "tests", "page"))

from browser import Browser  # noqa: E402  (stands beside the tests of the page)
from libraries import Library, make_conflict  # noqa: E402

LARGEST = 200_000  # bytes of a picture

# In the order in which the page shows them, the one that was changed last first.
SHOWN_FIRST = ["Harbour at dusk.png", "Quotes/Maps.quote.txt", "Photos/Sunflower.jpg", "Notes/Shopping 🛒.note.md",
               "Links/Hello World repository.url", "Photos/Café am Morgen.jpg", "Papers/Paper boat.pdf", "Orbits.gif",
               "Photos/日本の山.webp", "Films/Bouncing ball.mp4", "Photos/Hills 2024.spring.walk.jpg", "Links/Example domain.webloc",
               "Quotes/Rain.quote.txt", "Photos/Winter/Snow ❄️.png", "Notes/Idée für später.note.txt"]


def sample_files(scratch):
    """A copy of the samples whose times put them into that order."""
    files = shutil.copytree(os.path.join(ROOT, "samples", "library"), os.path.join(scratch, "library"))
    begin = time.time() + 3_600  # before what is changed after them
    for folder, _, names in os.walk(files):
        for name in names:
            os.utime(os.path.join(folder, name), (begin - 7_200, begin - 7_200))
    for at, name in enumerate(SHOWN_FIRST):
        os.utime(os.path.join(files, name), (begin - 60 * at, begin - 60 * at))
    return files


TAGS = {"Harbour at dusk": ["sea"], "Maps": ["sea", "to read"], "Paper boat": ["sea", "make"], "Sunflower": ["garden"],
        "Rain": ["garden"], "Café am Morgen": ["travel"], "日本の山": ["travel"], "Example domain": ["to read"]}
STARRED = ["Harbour at dusk", "Maps"]


def label(library):
    """Tags and stars, as of a host that leaves the order as it is."""
    names = sorted({tag for tags in TAGS.values() for tag in tags})
    identifiers = {name: f"7a6{at:05x}-0000-4000-8000-000000000000" for at, name in enumerate(names)}
    records = [{"recordType": "Tag", "uuid": identifiers[name], "name": name, "createdAt": 0} for name in names]
    for thing in library.json("list")["things"]:
        thing["tags"] = [identifiers[tag] for tag in TAGS.get(thing["displayTitle"], [])]
        thing["isStarred"] = thing["displayTitle"] in STARRED
        thing["updatedAt"] += 1
        if "data" in thing:
            with open(thing["data"], "rb") as file:
                thing["data"] = library.write(f"raw/{thing['uuid']}", file.read())
        records.append(thing)
    library.send(records)


def page_images(keltoctl, scratch):
    library = Library(keltoctl, os.path.join(scratch, "page"))
    library.run("import", sample_files(scratch))
    label(library)
    make_conflict(library, "Boat plan", "Boat")
    library.run("trash", library.identifier("Checklist"))
    page, _ = library.page("library.html")
    with Browser(1280, 800) as browser:
        browser.open(page)
        browser.run("search.blur()")
        for scheme in ("light", "dark"):
            browser.prefer(scheme)
            time.sleep(0.5)
            picture = os.path.join(FOLDER, f"page-{scheme}.png")
            browser.screenshot(picture)
            if os.path.getsize(picture) > LARGEST:
                sys.exit(f"{picture} is larger than {LARGEST} bytes")


def session(keltoctl, scratch):
    """A few commands with what they say: pairs of a command and its lines."""
    library = Library(keltoctl, os.path.join(scratch, "session"))
    os.chdir(ROOT)
    said = []

    def say(*arguments):
        shown = " ".join(f"'{part}'" if " " in part else part for part in arguments)
        said.append((shown, library.run(*arguments).splitlines()))

    say("import", "samples/library", "--tag", "sample")
    say("list", "--project", "Papers")
    boat = library.identifier("Paper boat")[:6]
    say("edit", boat, "--title", "How to fold a paper boat")
    os.chdir(scratch)
    say("page", "library.html")
    return said


def session_image(said):
    """The session as a drawing of a terminal, in text that can be selected."""
    lines = []
    for command, answer in said:
        lines.append(f'<tspan class="sign">$ </tspan><tspan class="command">keltoctl {html.escape(command)}</tspan>')
        lines += [html.escape(line) for line in answer] + [""]
    line_height, top = 20, 54
    height = top + line_height * (len(lines) - 1) + 14
    texts = "\n".join(f'<text x="22" y="{top + line_height * at}" xml:space="preserve">{line}</text>'
                      for at, line in enumerate(lines) if line)
    drawing = f"""<svg xmlns="http://www.w3.org/2000/svg" width="840" height="{height}" viewBox="0 0 840 {height}" role="img" aria-label="A session with keltoctl">
<style>
text {{ font: 13px ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace; fill: #c9cdd4; }}
.sign {{ fill: #7f8894; }}
.command {{ fill: #9db4f5; font-weight: 600; }}
</style>
<rect width="840" height="{height}" rx="12" fill="#1c1f25"/>
<circle cx="24" cy="22" r="6" fill="#e0655c"/><circle cx="44" cy="22" r="6" fill="#e5b656"/><circle cx="64" cy="22" r="6" fill="#6fb56b"/>
{texts}
</svg>
"""
    with open(os.path.join(FOLDER, "session.svg"), "w", encoding="utf-8") as file:
        file.write(drawing)


def main():
    with tempfile.TemporaryDirectory(prefix="kelto-images-") as scratch:
        keltoctl = os.path.abspath(sys.argv[1])
        page_images(keltoctl, scratch)
        session_image(session(keltoctl, scratch))


if __name__ == "__main__":
    main()
