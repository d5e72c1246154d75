"""The four C functions, called by a host that nobody can mistake for C++: what they answer."""
import ctypes
import json
import unittest
from pathlib import Path

from python_host import (A, B, LIBRARY, Environment, bridge, folder, in_threads, kelto, note,
                         request, start_raw, thing, turn_until)


class Asking(unittest.TestCase):
    def test_names_the_group_folder(self):
        self.assertEqual(bridge.group_path(), str(folder / "data/group.app.kelto"))

    def test_names_a_group_folder_in_any_script(self):
        with Environment(XDG_DATA_HOME="/home/Ada Größe 日本 🪐"):
            self.assertEqual(bridge.group_path(), "/home/Ada Größe 日本 🪐/group.app.kelto")

    def test_has_no_group_folder_without_a_home(self):
        with Environment(XDG_DATA_HOME=None, HOME=None):
            self.assertIsNone(bridge.group_path())
            with self.assertRaisesRegex(kelto.Unusable, "Set HOME"):
                bridge.store_path()

    def test_gives_back_every_path(self):
        # A path of 4000 characters, 5000 times: 20 MB, if it were not freed.
        with Environment(XDG_DATA_HOME="/" + "x" * 3999):
            bridge.group_path()
            before = allocated_bytes()
            for _ in range(5000):
                bridge.group_path()
            self.assertLess(allocated_bytes() - before, 1_000_000)

    def test_frees_nothing_without_harm(self):
        bridge._library.kelto_apple_free(None)

    def test_is_available_until_the_environment_switches_it_off(self):
        self.assertTrue(bridge.available())
        for switches in ({"KELTO_DISABLE_CLOUDKIT": "1"}, {"KELTO_DISABLE_CLOUDKIT": ""},
                         {"KELTO_CLOUDKIT_ENABLED": "No"}):
            with self.subTest(switches), Environment(**switches):
                self.assertFalse(bridge.available())
                with self.assertRaisesRegex(kelto.Unusable, "switched off"):
                    bridge.store_path()
                with self.assertRaisesRegex(kelto.Refused, "^This build is not provisioned"):
                    bridge.exchange_blocking(request())
        self.assertTrue(bridge.available())

    def test_is_answered_on_any_thread(self):
        answers = []
        in_threads(4, lambda _: answers.append((bridge.available(), bridge.group_path())))
        self.assertEqual(answers, [(True, str(folder / "data/group.app.kelto"))] * 4)


class Exchanging(unittest.TestCase):
    def test_brings_back_what_was_sent(self):
        title = "Ünïcode “quoted” \\ / \t 日本語 🪐 \u0000 end"
        answer = bridge.exchange_blocking(request(note(A, title, 1760000000001, fileSize=2**53 + 1)))
        self.assertEqual(thing(answer, A)["title"], title)
        self.assertEqual(thing(answer, A)["fileSize"], 2**53 + 1)
        self.assertEqual(answer["directory"], str(folder / "Exchange"))
        self.assertEqual(answer["status"], "iCloud enabled — waiting for sync")

    def test_shows_refusals_as_sentences(self):
        for sentence, refused in (
                ("Invalid bridge request.", {}),
                ("Invalid bridge request.", request(version=2)),
                ("Invalid record identifier.", request(note("nobody", "", 0))),
                ("Unknown iCloud record type.", request({"recordType": "thing", "uuid": A})),
                ("Invalid asset path.", request(note(A, "", 2e12, data="/etc/passwd"))),
                ("The iCloud store must be in Kelto’s App Group.", request(storePath="/tmp/x")),
                ("The JSON text is not valid at line 1, column 1 (byte 0): the text is empty.", ""),
                ("The JSON text is not valid at line 1, column 2 (byte 1): "
                 "a key or “}” is missing.", "{")):
            with self.subTest(sentence), self.assertRaises(kelto.Refused) as refusal:
                bridge.exchange_blocking(refused)
            self.assertEqual(str(refusal.exception), sentence)

    def test_refuses_what_is_no_text_before_it_crosses(self):
        for broken in ("\0", '{"version":1}\0', "\ud800", request(note(A, "\udcff", 0)),
                       {"fileSize": float("nan")}, {"records": object()}):
            with self.subTest(repr(broken)), self.assertRaises(kelto.BadRequest) as refusal:
                bridge.exchange_blocking(broken)
            self.assertNotIn("\n", str(refusal.exception))

    def test_refuses_what_is_nested_too_deeply_to_be_written(self):
        nested = []
        for _ in range(100_000):
            nested = [nested]
        with self.assertRaises(kelto.BadRequest):
            bridge.exchange_blocking({"records": nested})

    def test_repairs_bytes_that_are_not_utf_8(self):
        # The C function takes any bytes; it is this host that is strict.
        raw = json.dumps(request(note(B, "before", 1775000000000))).encode()
        answers = []
        start_raw(raw.replace(b"before", b"a\xffb\xc0\xafc"), answers.append)
        turn_until(answers)
        self.assertEqual(thing(kelto.snapshot(answers[0]), B)["title"], "a\ufffdb\ufffd\ufffdc")

    def test_ends_a_request_at_its_first_nul(self):
        answers = []
        start_raw(b'{}\0 and more', answers.append)
        turn_until(answers)
        with self.assertRaisesRegex(kelto.Refused, "^Invalid bridge request.$"):
            kelto.snapshot(answers[0])

    def test_takes_no_request_at_all_for_the_empty_text(self):
        answers = []
        start_raw(None, answers.append)
        turn_until(answers)
        with self.assertRaisesRegex(kelto.Refused, "the text is empty"):
            kelto.snapshot(answers[0])

    def test_needs_no_callback(self):
        library = ctypes.CDLL(LIBRARY)
        library.kelto_apple_exchange.argtypes = (ctypes.c_char_p, ctypes.c_ssize_t, ctypes.c_void_p)
        text = json.dumps(request(note(B, "untold", 1770000000000))).encode()
        library.kelto_apple_exchange(text, 0, None)
        answer = bridge.exchange_blocking(request())
        self.assertEqual(thing(answer, B)["title"], "untold")

    def test_carries_files_both_ways(self):
        exchange = folder / "Files"
        exchange.mkdir()
        contents = {"data": bytes(range(256)) * 5000, "thumbnail": b"", "icon": b"\0"}
        for name, content in contents.items():
            (exchange / name).write_bytes(content)
        record = note(A, "with files", 1780000000000,
                      **{name: str(exchange / name) for name in contents})
        stored = thing(bridge.exchange_blocking(request(record, directory="Files")), A)
        for name, content in contents.items():
            self.assertEqual(stored[name], str(exchange / f"received/{A}.{name}"))
            self.assertEqual(Path(stored[name]).read_bytes(), content)

        # What the host says it has is not written again; what it says nothing of is.
        known = {"Thing:" + A: stored["fingerprint"]}
        for name in contents:
            Path(stored[name]).unlink()
        again = request(directory="Files", knownFingerprints=known)
        self.assertEqual(thing(bridge.exchange_blocking(again), A)["fingerprint"],
                         stored["fingerprint"])
        self.assertEqual(list((exchange / "received").glob(A + ".*")), [])
        bridge.exchange_blocking(request(directory="Files"))
        for name, content in contents.items():
            self.assertEqual(Path(stored[name]).read_bytes(), content)


class MallInfo(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in (
        "arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks",
        "fordblks", "keepcost")]


def allocated_bytes():
    libc = ctypes.CDLL(None)
    libc.mallinfo2.restype = MallInfo
    return libc.mallinfo2().uordblks


if __name__ == "__main__":
    unittest.main()
