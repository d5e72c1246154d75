"""The three example hosts, run as a user runs them: what they print, and what they say when
something is wrong. CMake names the programs in the environment (see CMakeLists.txt)."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KELTO_BUILD"])
LIBRARY = BUILD / "lib/libkelto.so.1"
BROKEN_LIBRARY = BUILD / "tests/hosts/broken/libkelto.so.1"
SAMPLES = SOURCE / "samples/library"
FIRST = (SOURCE / "examples/expected-first.txt").read_text("utf-8")
AGAIN = (SOURCE / "examples/expected-again.txt").read_text("utf-8")

HOSTS = {
    "c": [BUILD / "bin/kelto_example_c"],
    "csharp": ["mono", BUILD / "examples/csharp/host.exe"],
    "python": [sys.executable, "-B", SOURCE / "examples/python/host.py"],
}


class Desk:
    """A home folder, and the hosts in it."""

    def __init__(self, test):
        self.folder = Path(tempfile.mkdtemp(prefix="kelto-hosts-"))
        test.addCleanup(shutil.rmtree, self.folder)
        # LANG=C: no host may rely on the environment for the encoding of what it prints.
        # The system's Python first: a wrapper in some home folder may miss that folder here.
        path = os.pathsep.join((os.path.dirname(sys.executable), os.environ["PATH"]))
        self.environment = {"PATH": path, "LANG": "C", "HOME": str(self.folder),
                            "XDG_DATA_HOME": str(self.folder / "data")}

    def run(self, command, *arguments, **environment):
        environment = {**self.environment, **environment}
        environment = {name: value for name, value in environment.items() if value is not None}
        return subprocess.run([*map(str, command), *map(str, arguments)], env=environment,
                              cwd=self.folder, capture_output=True, timeout=60, check=False)


class HostRun:
    """One host, and how it is run."""

    language = None

    def setUp(self):
        self.desk = Desk(self)

    def host(self, *arguments, library=LIBRARY, **environment):
        """The C host is linked to the library: for it, another one lies in an earlier folder."""
        if self.language != "c":
            environment["KELTO_LIBRARY"] = str(library)
        elif library != LIBRARY:
            environment["LD_LIBRARY_PATH"] = str(library.parent)
        return self.desk.run(HOSTS[self.language], *arguments, **environment)

    def prints(self, expected, *arguments):
        result = self.host(*arguments)
        self.assertEqual(result.stderr.decode(), "")
        self.assertEqual(result.stdout.decode(), expected)
        self.assertEqual(result.returncode, 0)

    def complains(self, sentence, result):
        """It ends with 1, after one line, which holds the cause and the remedy."""
        complaint = result.stderr.decode("utf-8")
        self.assertRegex(complaint, sentence)
        self.assertRegex(complaint, r"\A[A-Z“][^\n]+\.\n\Z")
        self.assertEqual(result.returncode, 1)


class HostTests(HostRun):
    """What holds for a host in any language."""

    def test_finds_at_its_second_run_what_the_first_has_kept(self):
        self.prints(FIRST.replace("TITLE", "Orbits, edited"), SAMPLES)
        self.prints(AGAIN.replace("TITLE", "Naïve “Orbits” \\ 🪐"), SAMPLES, "Naïve “Orbits” \\ 🪐")

    def test_asks_again_for_a_file_that_is_missing(self):
        self.host(SAMPLES)
        received = self.desk.folder / f"data/kelto-example-{self.language}/Exchange/received"
        victims = sorted(received.iterdir())[:3]
        contents = [each.read_bytes() for each in victims]
        for each in victims:
            each.unlink()
        self.assertEqual(self.host(SAMPLES).returncode, 0)
        self.assertEqual([each.read_bytes() for each in victims], contents)

    def test_leaves_no_copy_of_what_was_sent(self):
        self.host(SAMPLES)
        outgoing = self.desk.folder / f"data/kelto-example-{self.language}/Exchange/outgoing"
        self.assertEqual(list(outgoing.iterdir()), [])

    def test_without_a_folder_says_which(self):
        self.complains("The folder “/no/such/folder” couldn’t be read.",
                       self.host("/no/such/folder"))

    def test_says_that_the_library_is_switched_off(self):
        self.complains("Unset KELTO_DISABLE_CLOUDKIT",
                       self.host(SAMPLES, KELTO_DISABLE_CLOUDKIT=""))

    def test_says_that_there_is_no_place_for_the_library(self):
        result = self.host(SAMPLES, HOME=None, XDG_DATA_HOME=None)
        self.complains("Set HOME to the path of your home folder", result)

    def test_shows_a_refusal_as_it_is(self):
        store = self.desk.folder / "data/group.app.kelto/Library/Kelto.store"
        store.parent.mkdir(parents=True)
        store.write_text("Dear diary, " * 1000)
        self.complains("the file there isn’t a library store. Move it away", self.host(SAMPLES))

    def test_takes_no_broken_answer(self):
        for answer in ("", "sorry", "[]", '{"version":1}', '{"version":2,"records":[]}',
                       '{"version":1,"records":"[]"}', '{"version":1,"records":[{"uuid":"a"}',
                       '{"version":1,"records":[],"status":"', '{"version":null,"records":[]}',
                       '{"version":1,"error":null,"records":[]}', '{"version":1,"error":5}',
                       '{"version":1,"records":[{"uuid":null}]}', '{"version":1,"records":[5]}',
                       b'{"version":1,"records":[],"status":"\xff"}'):
            with self.subTest(answer=answer):
                result = self.host(SAMPLES, library=BROKEN_LIBRARY, KELTO_ANSWER=answer)
                self.complains("The library’s answer couldn’t be understood", result)

    def test_keeps_its_library_when_an_answer_is_broken(self):
        self.host(SAMPLES)
        home = self.desk.folder / f"data/kelto-example-{self.language}"
        before = {each: each.read_bytes() for each in home.glob("library.*")}
        result = self.host(SAMPLES, library=BROKEN_LIBRARY,
                           KELTO_ANSWER='{"version":1,"records":[{"uuid":"a"}')
        self.assertEqual(result.returncode, 1)
        self.assertEqual({each: each.read_bytes() for each in home.glob("library.*")}, before)


class OtherProgramTests(HostRun):
    """What holds for a host beside a program in Python, which cannot load a sanitized library."""

    def test_sends_away_what_it_edits_and_forgets_what_another_host_deletes(self):
        self.prints(FIRST.replace("TITLE", "Orbits, edited"), SAMPLES)
        request = {"version": 1, "directory": str(self.desk.folder),
                   "storePath": f"{self.desk.folder}/data/group.app.kelto/Library/Kelto.store"}
        things = {each.get("fileName"): each
                  for each in self.other_program(dict(request, records=[]))}
        self.assertEqual(things["Orbits.gif"]["title"], "Orbits, edited")
        deleted = {"recordType": "Thing", "uuid": things["Sunflower.jpg"]["uuid"], "deleted": True}
        self.other_program(dict(request, records=[deleted]))
        self.host(SAMPLES)  # It learns that Sunflower.jpg is gone; the file in its folder is not.
        self.prints(AGAIN.replace("new ones: 0", "new ones: 1", 1)
                    .replace("records sent: 0; news: 0, with files: 0, of 0 bytes",
                             "records sent: 1; news: 1, with files: 1, of 6119 bytes\n"
                             "  “Sunflower”", 1).replace("TITLE", "Orbits, edited"), SAMPLES)

    def other_program(self, request):
        script = ("import json, kelto\n"
                  f"answer = kelto.Bridge().exchange_blocking(json.loads({json.dumps(request)!r}))\n"
                  "print(json.dumps(answer['records']))")
        result = self.desk.run([sys.executable, "-B", "-c", script], KELTO_LIBRARY=str(LIBRARY),
                               PYTHONPATH=str(SOURCE / "examples/python"))
        self.assertEqual(result.stderr.decode(), "")
        return json.loads(result.stdout)


class LoadingTests(HostTests, OtherProgramTests):
    """What holds for a host that loads the library by name."""

    def test_says_which_library_it_does_not_find(self):
        self.complains(r"couldn’t be loaded \(/no/such/libkelto.so.1: .*\)\. "
                       "Build it with “./dev build”",
                       self.host(SAMPLES, library="/no/such/libkelto.so.1"))

    def test_says_that_a_library_is_another_one(self):
        self.complains("“libm.so.6” isn’t Kelto’s library", self.host(SAMPLES, library="libm.so.6"))

    def test_says_that_its_runtime_is_missing(self):
        tools = self.desk.folder / "tools"
        tools.mkdir()
        for each in ("bash", "env", "dirname"):
            (tools / each).symlink_to(shutil.which(each))
        result = self.desk.run([SOURCE / "examples/run", self.language], PATH=str(tools))
        self.complains("is missing. Install it with “apt-get install", result)

    def test_runs_by_the_script(self):
        result = self.desk.run([SOURCE / "examples/run", self.language], KELTO_BUILD=str(BUILD))
        self.assertEqual(result.stderr.decode(), "")
        self.assertEqual(result.stdout.decode(), FIRST.replace("TITLE", "Orbits, edited"))


class OddNameTests(HostRun):
    """What Mono cannot do: it does not open such files."""

    def test_takes_in_files_of_any_name(self):
        folder = os.fsencode(self.desk.folder / "odd")
        os.mkdir(folder)
        for name in (b"no UTF-8 \xff.txt", b'"quoted" \\.txt', b"two\nlines.txt"):
            Path(os.fsdecode(folder + b"/" + name)).write_text("text")
        for new in (3, 0):
            result = self.host(os.fsdecode(folder))
            self.assertEqual(result.stderr.decode(), "")
            self.assertIn(f"files in the folder: 3, new ones: {new}\n", result.stdout.decode())


class C(HostTests, OddNameTests, unittest.TestCase):
    language = "c"


class CBesideAnotherProgram(OtherProgramTests, unittest.TestCase):
    language = "c"


class CSharp(LoadingTests, unittest.TestCase):
    language = "csharp"

    def test_survives_collections_amid_exchanges_from_several_threads(self):
        result = self.desk.run(["mono", BUILD / "examples/csharp/stress.exe"], self.desk.folder,
                               os.environ.get("KELTO_STRESS_EXCHANGES", "1000"),
                               KELTO_LIBRARY=str(LIBRARY))
        self.assertEqual(result.stderr.decode(), "")
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout.decode(), r"exchanges from 4 threads, [1-9]\d+ collections")
        print(result.stdout.decode(), end="")


class Python(LoadingTests, OddNameTests, unittest.TestCase):
    language = "python"

    def test_can_be_interrupted_while_the_library_is_busy(self):
        # The answer may be lost then; the interruption may not.
        for waiting in ("bridge.exchange_blocking('{}')",
                        "asyncio.new_event_loop().run_until_complete(bridge.exchange('{}'))"):
            with self.subTest(waiting):
                script = ("import asyncio, kelto, signal\n"
                          "signal.signal(signal.SIGINT, signal.default_int_handler)\n"
                          "bridge = kelto.Bridge()\n"
                          f"try: {waiting}\n"
                          "except KeyboardInterrupt: print('interrupted')")
                result = self.desk.run(
                    [sys.executable, "-B", "-c", script], KELTO_LIBRARY=str(BROKEN_LIBRARY),
                    PYTHONPATH=str(SOURCE / "examples/python"), KELTO_INTERRUPTED="",
                    KELTO_ANSWER='{"version":1,"records":[]}')
                self.assertEqual((result.stderr, result.stdout), (b"", b"interrupted\n"))


class Together(unittest.TestCase):
    """Three languages, three libraries of their own, one shared copy."""

    def test_each_sees_what_the_others_have_done(self):
        desk = Desk(self)

        def run(language, title):
            result = desk.run(HOSTS[language], SAMPLES, title, KELTO_LIBRARY=str(LIBRARY))
            self.assertEqual(result.stderr.decode(), "")
            return result.stdout.decode()

        # Each sends all 25 things; two of them find that somebody has edited one of these later.
        for language in HOSTS:
            self.assertEqual(run(language, f"by {language}"),
                             FIRST.replace("TITLE", f"by {language}"))
        previous = list(HOSTS)[-1]
        for language in HOSTS:
            expected = AGAIN.replace("records sent: 0; news: 0, with files: 0, of 0 bytes",
                                     "records sent: 0; news: 1, with files: 1, of 5859 bytes\n"
                                     f"  “by {previous}”", 1)
            self.assertEqual(run(language, f"by {language}"),
                             expected.replace("TITLE", f"by {language}"))
            previous = language


if __name__ == "__main__":
    unittest.main()
