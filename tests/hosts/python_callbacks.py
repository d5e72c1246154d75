"""The four C functions, called by a host that nobody can mistake for C++: when, where and in which
order they call back, and how that goes together with asyncio."""
import asyncio
import ctypes
import gc
import os
import sys
import threading
import time
import unittest

from python_host import (B, bridge, folder, glib_turns, in_threads, kelto, note, request, thing,
                         turn_until)

glib = ctypes.CDLL("libglib-2.0.so.0")


class CallingBack(unittest.TestCase):
    def test_hands_back_every_context(self):
        seen = []
        contexts = (0, 1, -1, 2**63 - 1, -2**63)
        callback = kelto._Callback(lambda context, response: seen.append(context))
        for context in contexts:
            bridge._library.kelto_apple_exchange(b"{}", context, callback)
        self.assertEqual(seen, [])  # Never from inside the call.
        turn_until(lambda: len(seen) == len(contexts))
        self.assertEqual(tuple(seen), contexts)

    def test_answers_in_the_order_of_the_calls(self):
        seen = []
        for number in range(50):
            bridge.start("{}" if number % 3 else request(), lambda _, number=number: seen.append(number))
        turn_until(lambda: len(seen) == 50)
        self.assertEqual(seen, list(range(50)))

    def test_answers_on_the_main_thread_whoever_asks(self):
        seen = []

        def ask(number):
            for _ in range(25):
                directory = f"Thread {number}"
                bridge.start(request(directory=directory), lambda response: seen.append(
                    (number, threading.current_thread(), kelto.snapshot(response)["directory"])))

        threads = [threading.Thread(target=ask, args=(number,)) for number in range(4)]
        for each in threads:
            each.start()
        turn_until(lambda: len(seen) == 100)
        for each in threads:
            each.join()
        for number, thread, directory in seen:
            self.assertIs(thread, threading.main_thread())
            self.assertEqual(directory, str(folder / f"Thread {number}"))

    def test_may_start_another_exchange_from_a_callback(self):
        seen = []

        def again(response):
            seen.append(response)
            if len(seen) < 5:
                bridge.start("{}", again)

        bridge.start("{}", again)
        turn_until(lambda: len(seen) == 5)

    def test_may_wait_for_another_exchange_in_a_callback(self):
        seen = []

        def nested(_):
            seen.append("outer")
            bridge.exchange_blocking(request())
            seen.append("inner")

        bridge.start("{}", nested)
        turn_until(lambda: len(seen) == 2)

    def test_lets_no_exception_out_of_a_callback(self):
        reported, seen = [], []
        hook, sys.excepthook = sys.excepthook, lambda kind, *_: reported.append(kind)
        self.addCleanup(setattr, sys, "excepthook", hook)

        def fail(_):
            raise KeyboardInterrupt

        bridge.start("{}", fail)
        bridge.start("{}", seen.append)
        turn_until(seen)
        self.assertEqual(reported, [KeyboardInterrupt])

    def test_keeps_what_is_called_back_alive(self):
        seen = []
        for _ in range(200):
            bridge.start("{}", lambda response, ballast=bytearray(10000): seen.append(len(ballast)))
        gc.collect()
        turn_until(lambda: len(seen) == 200)
        self.assertEqual(kelto._waiting, {})

    def test_does_not_wait_off_the_main_thread(self):
        caught = []

        def wait(_):
            try:
                bridge.exchange_blocking("{}")
            except kelto.BadRequest as refusal:
                caught.append(str(refusal))

        in_threads(1, wait)
        self.assertRegex(caught[0], "^Only the main thread")


class Awaiting(unittest.TestCase):
    def test_gives_each_coroutine_its_answer(self):
        async def ask(number):
            answer = await bridge.exchange(request(directory=f"Coroutine {number}"))
            return answer["directory"]

        async def all_at_once():
            return await asyncio.gather(*map(ask, range(20)))

        self.assertEqual(asyncio.run(all_at_once()),
                         [str(folder / f"Coroutine {number}") for number in range(20)])

    def test_works_in_one_loop_after_the_other(self):
        for _ in range(3):
            self.assertEqual(asyncio.run(bridge.exchange(request()))["version"], 1)

    def test_raises_what_the_library_refuses(self):
        with self.assertRaisesRegex(kelto.Refused, "^Invalid bridge request.$"):
            asyncio.run(bridge.exchange("{}"))

    def test_lets_other_coroutines_run_in_between(self):
        async def count_while(task):
            turns = 0
            while not task.done():
                await asyncio.sleep(0)
                turns += 1
            return turns

        async def both():
            exchanges = asyncio.gather(*(bridge.exchange(request()) for _ in range(20)))
            turns = await count_while(exchanges)
            await exchanges
            return turns

        self.assertGreaterEqual(asyncio.run(both()), 20)

    def test_lets_a_thread_with_a_loop_of_its_own_await_too(self):
        answers = []

        async def main():
            other = asyncio.to_thread(
                lambda: answers.append(asyncio.run(bridge.exchange(request(directory="Other")))))
            turns = glib_turns.turns_in(asyncio.get_running_loop())
            turns.hold()
            await other
            turns.release()

        asyncio.run(main())
        self.assertEqual(answers[0]["directory"], str(folder / "Other"))

    def test_finishes_an_exchange_nobody_waits_for_any_more(self):
        async def change_mind():
            task = asyncio.create_task(bridge.exchange(request(note(B, "kept", 1790000000000))))
            await asyncio.sleep(0)
            task.cancel()
            await asyncio.gather(task, return_exceptions=True)

        asyncio.run(change_mind())
        self.assertEqual(thing(bridge.exchange_blocking(request()), B)["title"], "kept")
        self.assertEqual(kelto._waiting, {})

    def test_sleeps_while_nothing_happens(self):
        async def hold():
            turns = glib_turns.turns_in(asyncio.get_running_loop())
            counted = CountedCalls(turns, "_turn")
            turns.hold()
            before = time.process_time()
            await asyncio.sleep(0.4)
            turns.release()
            return counted.count, time.process_time() - before

        count, seconds = asyncio.run(hold())
        self.assertLess(count, 5)
        self.assertLess(seconds, 0.1)

    def test_serves_what_this_thread_adds_when_it_is_woken(self):
        events = []
        idle = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p)(lambda _: events.append("idle") or 0)

        async def main():
            turns = glib_turns.turns_in(asyncio.get_running_loop())
            turns.hold()
            glib.g_idle_add(idle, None)
            glib_turns.wake()
            await asyncio.sleep(0.2)
            turns.release()

        asyncio.run(main())
        self.assertEqual(events, ["idle"])

    def test_serves_other_sources_of_the_context_too(self):
        # A timer and a pipe, as other libraries of a process would add them.
        events = []
        reading, writing = os.pipe()
        kind = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p)
        piped_kind = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_void_p)
        timer = kind(lambda _: events.append("timer") or 0)
        piped = piped_kind(lambda fd, *_: events.append(os.read(fd, 9)) or 0)

        async def main():
            turns = glib_turns.turns_in(asyncio.get_running_loop())
            turns.hold()
            # By another thread, while this one sleeps: it must be woken for them.
            await asyncio.to_thread(glib.g_timeout_add, 50, timer, None)
            await asyncio.to_thread(glib.g_unix_fd_add, reading, 1, piped, None)
            await asyncio.sleep(0.02)
            os.write(writing, b"bytes")
            await asyncio.sleep(0.3)
            turns.release()

        asyncio.run(main())
        os.close(reading)
        os.close(writing)
        self.assertEqual(events, [b"bytes", "timer"])


class CountedCalls:
    """Counts the calls of an object's method."""

    def __init__(self, target, name):
        self.count = 0
        method = getattr(target, name)

        def counted():
            self.count += 1
            method()

        setattr(target, name, counted)


if __name__ == "__main__":
    unittest.main()
