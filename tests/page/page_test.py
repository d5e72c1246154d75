"""Opens pages that keltoctl has written in a headless Chromium and does what a person would do.

page_test.py KELTOCTL SAMPLES FOLDER [TEST...]; screenshots are left in FOLDER."""

import http.server
import os
import sys
import tempfile
import threading
import time
import unittest

import libraries
from browser import Browser, missing_programs

KELTOCTL, SAMPLES, RESULTS = "", "", ""
MARKUP = "</script><script>window.hacked = 1</script><img src=x onerror='window.hacked = 2'><b>bold</b><!--"
HOSTILE_ADDRESSES = ["javascript:window.hacked=3", " JaVaScRiPt:window.hacked=4", "java\nscript:window.hacked=5",
                     "data:text/html,<script>alert(1)</script>", "vbscript:x", "file:///etc/passwd"]
HOSTILE_SVG = b"""<svg xmlns="http://www.w3.org/2000/svg" width="40" height="30" onload="parent.hacked = 6">
<script>top.hacked = 7</script><image href="http://127.0.0.1:9/x.png"/><rect width="40" height="30" fill="#a33"/></svg>"""

# In the page: the contrast of an element's text with what lies under it.
CONTRAST = """
const paper = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
const under = [];
for (let at = arguments[0]; at; at = at.parentElement) under.unshift(getComputedStyle(at).backgroundColor);
paper.fillStyle = '#fff';
paper.fillRect(0, 0, 1, 1);
const light = color => {
    paper.fillStyle = color;
    paper.fillRect(0, 0, 1, 1);
    const [red, green, blue] = [...paper.getImageData(0, 0, 1, 1).data].slice(0, 3).map(part => {
        part /= 255;
        return part <= 0.03928 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
};
const below = under.map(light).pop(), above = light(getComputedStyle(arguments[0]).color);
return (Math.max(above, below) + 0.05) / (Math.min(above, below) + 0.05);
"""


def setUpModule():
    global browser, scratch
    scratch = tempfile.TemporaryDirectory(prefix="kelto-page-")
    unittest.addModuleCleanup(scratch.cleanup)
    browser = Browser()
    unittest.addModuleCleanup(browser.close)


class PageTest(unittest.TestCase):
    """A page is written once for each class, and opened anew for each test."""

    page = ""
    size = (1280, 900)

    def setUp(self):
        browser.prefer("light")
        browser.size(*self.size)
        browser.blank()
        browser.console(), browser.requests()  # what was before does not count
        browser.open(self.page)
        browser.run("localStorage.clear(); document.documentElement.dataset.theme = 'automatic'")
        self.wait("return document.querySelectorAll('.tile').length > 0")

    def wait(self, script, *arguments):
        for _ in range(200):
            if value := browser.run(script, *arguments):
                return value
            time.sleep(0.02)
        self.fail("never true: " + script)

    @staticmethod
    def titles():
        return browser.run("return grid.shown.map(item => item.title)")

    def search(self, text):
        browser.run("search.value = arguments[0]; search.dispatchEvent(new Event('input'))", text)
        return self.titles()

    @staticmethod
    def go(place):
        browser.run("""[...document.querySelectorAll('.place-button')].find(
            button => button.querySelector('.name').textContent === arguments[0]).click()""", place)

    @staticmethod
    def open_details(title):
        browser.run("details.open(items.find(item => item.title === arguments[0]), items)", title)
        return browser.drawn("document.getElementById('details').innerText")

    def assertFocused(self, name):
        """On the tile of that title, or on the element of that id; a dialog gives it back after it has closed."""
        script = "const at = document.activeElement; return at.querySelector?.('.title')?.textContent ?? at.id"
        for _ in range(100):
            if (found := browser.run(script)) == name:
                return
            time.sleep(0.02)
        self.assertEqual(found, name)


class TheSampleLibrary(PageTest):
    @classmethod
    def setUpClass(cls):
        library = libraries.Library(KELTOCTL, os.path.join(scratch.name, "sample"))
        library.run("import", SAMPLES, "--tag", "first import")
        library.run("add", "note", "が and ぎ", "--title", "Kana", "--note", "kept in the remark", "--star")
        library.run("add", "note", "thrown away", "--title", "Old list")
        library.run("trash", library.identifier("Old list"))
        libraries.make_conflict(library)
        cls.page, cls.report = library.page("library.html")

    def test_is_drawn_without_a_complaint_and_without_a_request(self):
        self.assertEqual(self.report["items"], 29)
        self.assertEqual(browser.run("return document.getElementById('count').textContent"), "28 items")
        for scheme in ("light", "dark"):
            browser.prefer(scheme)
            time.sleep(0.3)  # colours change gently
            path = os.path.join(RESULTS, f"page-{scheme}.png")
            browser.screenshot(path)
            self.assertGreater(os.path.getsize(path), 30_000)
        self.assertEqual(browser.console(), [])
        self.go("Photos")
        self.assertEqual(browser.run("return document.images.length"), 7)
        self.wait("return [...document.images].every(image => image.complete && image.naturalWidth > 0)")
        self.assertEqual([at for at in browser.requests() if not at.startswith(("data:", "file://" + self.page))], [])

    def test_finds_as_one_types(self):
        for text, found in {
            "cafe": ["Café am Morgen"], "CAFÉ MORGEN": ["Café am Morgen"], "idee fur spater": ["Idée für später"],
            "laundry": ["Rain"], "octocat": ["Hello World repository"], "日本の": ["日本の山"], "三日坊主": ["日本語のメモ"],
            "gardener": ["Rain"], "remark": ["Kana"], "か": [], "が": ["Kana"], "no such thing": [],
        }.items():
            with self.subTest(text):
                self.assertEqual(self.search(text), found)
        self.assertEqual(len(self.search("first import")), 25)
        self.assertEqual(browser.run("return document.getElementById('count').textContent"), "25 items found")
        self.search("cafe")
        self.assertEqual(browser.run("return document.querySelector('.tile .title mark').textContent"), "Café")

    def test_is_narrowed_down_by_project_kind_and_tag(self):
        self.go("Winter")
        self.assertEqual(len(self.titles()), 3)
        self.go("library")
        browser.click(".kind-chip[data-kind=image]")
        self.assertEqual(len(self.titles()), 9)
        self.go("All items")
        browser.click("[data-tag='0']")
        self.assertEqual(len(self.titles()), 25)
        self.go("Starred")
        self.assertEqual(self.titles(), ["Kana"])

    def test_keeps_the_trash_apart(self):
        self.assertNotIn("Old list", self.titles())
        self.go("Trash")
        self.assertEqual(self.titles(), ["Old list"])

    def test_shows_both_versions_of_a_conflict(self):
        self.go("Conflicts")
        shown = browser.drawn("[...document.querySelectorAll('.pair .version')].map(part => part.innerText)")
        self.assertEqual(len(shown), 2)
        self.assertIn("Launch it before the rain", shown[0])
        self.assertIn("Plan (iCloud conflict)", shown[1])
        self.assertIn("Buy blue paint", shown[1])
        self.assertEqual(browser.run("return [...document.querySelectorAll('.pair ins')].map(part => part.textContent)"),
                         ["Buy paint", "Launch it before the rain", "Buy blue paint"])
        left, right = browser.run("return [...document.querySelectorAll('.version')].map(part => part.getBoundingClientRect().left)")
        self.assertLess(left, right)
        self.go("All items")
        self.assertIn("Buy blue paint", self.open_details("Plan"))

    def test_is_used_by_keyboard_alone(self):
        browser.press("/", "harbour dusk")
        self.assertEqual(self.titles(), ["Harbour at dusk"])
        browser.press("ArrowDown")
        self.assertFocused("Harbour at dusk")
        self.assertGreaterEqual(browser.run("return parseFloat(getComputedStyle(document.activeElement).outlineWidth)"), 2)
        browser.press("Enter")
        self.assertTrue(browser.run("return document.getElementById('details').open"))
        self.assertFocused("details-title")
        browser.press("Escape")
        self.assertFalse(browser.run("return document.getElementById('details').open"))
        self.assertFocused("Harbour at dusk")
        browser.press("Escape")
        self.assertEqual(len(self.titles()), 28)
        self.assertFocused("search")
        browser.press("Escape")
        titles = self.titles()
        columns = browser.run("return grid.columns")
        for key, at in (("ArrowRight", 1), ("ArrowDown", 1 + columns), ("ArrowLeft", columns), ("End", 27),
                        ("Home", 0), ("ArrowUp", 0)):
            browser.press(key)
            self.assertFocused(titles[at])
        browser.press("Enter", "ArrowRight", "ArrowRight", "ArrowLeft", "Escape")
        self.assertFocused(titles[1])

    def test_tells_a_screen_reader_what_there_is(self):
        self.search("kana")
        nodes = browser.accessibility()
        roles = [node["role"] for node in nodes]
        for role in ("banner", "navigation", "main", "search", "status"):
            self.assertEqual(roles.count(role), 1, role)
        self.assertEqual([node for node in nodes if node["role"] in ("button", "link", "searchbox", "combobox", "image")
                          and not node["name"]], [])
        names = [node["name"] for node in nodes if node["role"] == "button"]
        self.assertIn("Kana, Note, starred", names)
        self.assertEqual(browser.run("return [...document.images].filter(image => !image.hasAttribute('alt')).length"), 0)
        self.open_details("Harbour at dusk")
        nodes = browser.accessibility()
        self.assertIn(("dialog", "Harbour at dusk"), [(node["role"], node["name"]) for node in nodes])
        self.assertIn(("image", "The picture “Harbour at dusk”"), [(node["role"], node["name"]) for node in nodes])

    def test_can_be_read_in_light_and_in_dark(self):
        papers = set()
        for scheme in ("light", "dark"):
            browser.prefer(scheme)
            time.sleep(0.3)  # colours change gently
            papers.add(browser.run("return getComputedStyle(document.body).backgroundColor"))
            for selector in ("h1", "#count", ".written", ".tile .title", ".tile .second", ".amount", ".place-button[aria-current]",
                             ".chip[aria-pressed=true]", *(f".tile[data-kind={kind}] .badge" for kind in libraries.KINDS)):
                browser.run("document.querySelector(arguments[0])?.scrollIntoView()", selector)
                if selector.startswith(".tile["):
                    kind = selector[len(".tile[data-kind="):].split("]")[0]
                    browser.run("choose({kind: arguments[0]})", kind)
                self.wait("return document.querySelector(arguments[0])", selector)
                contrast = browser.run(CONTRAST.replace("arguments[0]", "document.querySelector(arguments[0])"), selector)
                self.assertGreaterEqual(contrast, 4.5, f"{selector} in {scheme}")
            browser.run("choose({kind: null})")
        self.assertEqual(len(papers), 2)
        browser.prefer("light")
        for theme in ("light", "dark", "automatic"):
            browser.click("#theme")
            self.assertEqual(browser.run("return document.documentElement.dataset.theme"), theme)
            self.assertEqual(browser.run("return getComputedStyle(document.documentElement).colorScheme"),
                             {"automatic": "light dark"}.get(theme, theme))

    def test_fits_a_telephone(self):
        browser.size(360, 740)
        self.wait("return grid.columns === 2")
        self.assertLessEqual(browser.run("return document.scrollingElement.scrollWidth"), 360)
        browser.click("#menu")
        self.wait("return getComputedStyle(document.getElementById('sidebar')).visibility === 'visible'")
        self.assertTrue(browser.run("return document.getElementById('sidebar').contains(document.activeElement)"))
        browser.screenshot(os.path.join(RESULTS, "page-narrow.png"))
        browser.press("Escape")
        self.assertFocused("menu")
        self.open_details("Harbour at dusk")
        self.assertLessEqual(browser.run("return document.getElementById('details').scrollWidth"), 360)


class AHostileLibrary(PageTest):
    @classmethod
    def setUpClass(cls):
        library = libraries.Library(KELTOCTL, os.path.join(scratch.name, "hostile"))
        library.run("add", "note", MARKUP, "--title", MARKUP, "--note", MARKUP, "--tag", MARKUP)
        library.run("add", "file", library.write("moon.svg", HOSTILE_SVG))
        library.run("add", "file", library.write("broken.png", b"\x89PNG\r\n\x1a\n" + b"x" * 300))
        records = [{"recordType": "Project", "uuid": "a" * 8 + "-0000-4000-8000-00000000000a", "name": MARKUP, "createdAt": 0}]
        for at, address in enumerate([*HOSTILE_ADDRESSES, "https://example.org/?a=<b>\"'", "mailto:a@example.org"]):
            records.append({"recordType": "Thing", "uuid": f"b0000000-0000-4000-8000-{at:012d}", "kind": "link", "urlString": address,
                            "title": f"link {at}", "createdAt": 0, "updatedAt": 9_000_000_000_000_000 if at == 0 else at, "project": records[0]["uuid"],
                            "metadataJson": '{"homepage":"javascript:window.hacked=8","siteName":"<i>site</i>","author":"<u>"}'})
        library.send(records)
        cls.page, _ = library.page("library.html")

    def test_shows_markup_as_text(self):
        self.assertIn(MARKUP, self.titles())
        self.assertEqual(browser.run("return grid.drawn.get(items.find(item => item.kind === 'note')).querySelector('.title').textContent"), MARKUP)
        self.open_details(MARKUP)
        self.assertEqual(browser.run("return document.querySelector('#details h2').textContent"), MARKUP)
        self.assertEqual(browser.run("return document.querySelectorAll('b:not(.sheet b), u, main script, dialog script, img[src=x]').length"), 0)
        self.search("bold")
        self.assertIsNone(browser.run("return window.hacked"))

    def test_links_to_the_web_and_to_mail_alone(self):
        for at, address in enumerate(HOSTILE_ADDRESSES):
            self.open_details(f"link {at}")
            self.assertEqual(browser.run("return document.querySelectorAll('#details a').length"), 0, address)
            browser.run("details.dialog.close()")
        for at in (len(HOSTILE_ADDRESSES), len(HOSTILE_ADDRESSES) + 1):
            self.open_details(f"link {at}")
            target, relation, address = browser.run(
                "const [link] = document.querySelectorAll('#details a'); return [link.target, link.rel, link.protocol]")
            self.assertEqual((target, "noopener noreferrer" in relation), ("_blank", True))
            self.assertIn(address, ("https:", "mailto:"))
            browser.run("details.dialog.close()")
        self.assertIsNone(browser.run("return window.hacked"))

    def test_shows_a_drawing_as_a_picture_only(self):
        self.wait("return [...document.images].some(image => image.src.startsWith('data:image/svg+xml') && image.naturalWidth === 40)")
        self.assertIsNone(browser.run("return window.hacked"))
        self.assertEqual(browser.run("return document.querySelectorAll('svg script, svg image, object, embed, iframe').length"), 0)

    def test_puts_a_badge_in_the_place_of_a_broken_picture(self):
        self.wait("return grid.drawn.get(items.find(item => item.title === 'broken')).querySelector('.sheet b')?.textContent === 'PNG'")

    def test_asks_for_nothing_even_if_a_script_wanted_to(self):
        hits = []

        class Server(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                hits.append(self.path)
                self.send_response(204)
                self.end_headers()

            do_POST = do_GET

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
        thread = threading.Thread(target=server.serve_forever, daemon=True)
        thread.start()
        try:
            outcome = browser.run_async("""
                const [address, done] = arguments, refused = [];
                const attempt = (name, act) => { try { act(); } catch { refused.push(name); } };
                const add = (name, values) => document.body.append(Object.assign(document.createElement(name), values));
                attempt('markup', () => document.body.insertAdjacentHTML('beforeend', '<img src=x>'));
                attempt('script', () => add('script', {textContent: 'window.hacked = 9'}));
                attempt('socket', () => new WebSocket(address.replace('http', 'ws')));
                add('img', {src: address + 'image'});
                add('iframe', {src: address + 'frame'});
                add('link', {rel: 'stylesheet', href: address + 'style'});
                add('form', {action: address + 'form'});
                document.forms[document.forms.length - 1].submit();
                navigator.sendBeacon(address + 'beacon');
                fetch(address + 'fetch').then(() => 'fetched', () => 'refused').then(
                    fetched => setTimeout(() => done([fetched, refused, window.hacked ?? null]), 300));
                """, f"http://127.0.0.1:{server.server_port}/")
        finally:
            server.shutdown()
            server.server_close()
            thread.join()
        self.assertEqual(outcome[0], "refused")
        self.assertIn("markup", outcome[1])
        self.assertIsNone(outcome[2])
        self.assertEqual(hits, [])


class TenThousandItems(PageTest):
    count = 10_000

    @classmethod
    def setUpClass(cls):
        library = libraries.Library(KELTOCTL, os.path.join(scratch.name, "many"))
        libraries.many(library, cls.count)
        cls.page, cls.report = library.page("library.html")

    def test_are_drawn_few_at_a_time(self):
        self.wait("return document.readyState === 'complete'")
        drawn, first, complete = browser.run("""return [
            performance.getEntriesByName('items drawn')[0].startTime,
            performance.getEntriesByName('first-contentful-paint')[0].startTime,
            performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd];""")
        print(f"\n  {self.count} items, {self.report['bytes'] / 1e6:.1f} MB, {self.report['picturesEmbedded']} pictures: "
              f"tiles drawn after {drawn:.0f} ms, first paint {first:.0f} ms, whole page {complete:.0f} ms")
        self.assertEqual(self.report["items"], self.count)
        self.assertEqual(browser.run("return document.getElementById('count').textContent"), "10,000 items")
        self.assertLess(browser.run("return document.querySelectorAll('.tile').length"), 100)
        self.assertLess(browser.run("return document.querySelectorAll('main *').length"), 2000)
        browser.press("/", "Escape", "End")
        self.assertFocused("Thing 0 of a räther large library")
        self.assertLess(browser.run("return document.querySelectorAll('.tile').length"), 100)
        self.assertEqual(browser.run("return document.activeElement.parentElement.getAttribute('aria-posinset')"), "10000")
        browser.press("Home")
        self.assertFocused("Thing 9999 of a räther large library")
        self.assertEqual(browser.console(), [])

    def test_are_searched_at_every_keystroke(self):
        self.wait("return Object.keys(searchTexts).length === items.length")
        times = browser.run_async("""
            const [text, done] = arguments, times = [];
            const next = length => {
                if (length > text.length) return done(times);
                const begin = performance.now();
                search.value = text.slice(0, length);
                search.dispatchEvent(new Event('input'));
                document.body.getBoundingClientRect();
                const worked = performance.now() - begin;
                requestAnimationFrame(() => setTimeout(() => {
                    times.push([worked, performance.now() - begin]);
                    next(length + 1);
                }));
            };
            next(1);""", "remark7777")
        worked = sorted(time for time, _ in times)
        seen = sorted(time for _, time in times)
        print(f"\n  a keystroke in {self.count} items: {worked[len(worked) // 2]:.0f} ms of work (at most {worked[-1]:.0f}), "
              f"seen after {seen[len(seen) // 2]:.0f} ms (at most {seen[-1]:.0f})")
        self.assertEqual(self.titles(), ["Thing 7777 of a räther large library"])
        self.assertEqual(self.search("rather LARGE remark1234"), ["Thing 1234 of a räther large library"])


if __name__ == "__main__":
    if missing := missing_programs():
        print(f"skipped: {' and '.join(missing)} not installed; ./dev setup installs what the tests need")
        sys.exit(77)
    KELTOCTL, SAMPLES, RESULTS = (os.path.abspath(path) for path in sys.argv[1:4])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]], verbosity=2)
