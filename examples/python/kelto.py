"""Kelto's bridge library for Python: its four C functions through ctypes, and nothing else.

    answer = await bridge.exchange(request)      # a program that runs asyncio
    answer = bridge.exchange_blocking(request)   # a script without any loop
    bridge.start(request, answered)              # a program whose toolkit runs GLib's loop

Exchanges happen on the main thread, while GLib's default main context turns there; the first two
turn it themselves. docs/hosting-python.md says more, docs/exchange-format.md what the texts hold.
"""
import asyncio
import ctypes
import itertools
import json
import os
import sys
import threading

from glib_turns import AnotherThread, after_each_turn, turn_until, turns_in, wake


class Error(Exception):
    """Whatever goes wrong here: str() is one sentence for a person."""


class Unusable(Error):
    """The library cannot be loaded, or may not be used."""


class BadRequest(Error, ValueError):
    """The request could not even be handed over."""


class Refused(Error):
    """The library's own refusal, to be shown as it is. Nothing was merged."""


class BrokenAnswer(Error):
    """The answer is none that this host understands. Nothing of it may be taken over."""


_Callback = ctypes.CFUNCTYPE(None, ctypes.c_ssize_t, ctypes.c_char_p)

# Who waits for which answer. The library hands the ticket back; no pointer to an object crosses.
_waiting = {}
_tickets = itertools.count(1)

# Answers that come out of turns of our own, until the turn has ended. C code alone puts them down:
# a signal that arrived during the exchange is handled by the first line of Python that comes, and
# in a callback KeyboardInterrupt would go nowhere, and the answer with it.
_arrived = {}
_put_down = _Callback(_arrived.__setitem__)


def _hand_over():
    for ticket in list(_arrived):
        _waiting.pop(ticket)(_arrived.pop(ticket))


after_each_turn.append(_hand_over)


@_Callback
def _answered(ticket, response):
    # One callback object for all exchanges, as old as the module. `response` is a copy already.
    # Around this function is C: no exception may leave it.
    try:
        _waiting.pop(ticket)(response)
    except BaseException:
        sys.excepthook(*sys.exc_info())


def encoded(request):
    """A request (an object for json, or its text) as the bytes that cross: strict UTF-8, no NUL."""
    try:
        text = request if isinstance(request, str) else json.dumps(
            request, ensure_ascii=False, allow_nan=False)
        data = text.encode("utf-8")
    except (TypeError, ValueError, RecursionError) as error:
        raise BadRequest(f"The request can’t be written as JSON in UTF-8 ({error}). "
                         "Correct the record.") from None
    if b"\0" in data:
        raise BadRequest("The request holds a NUL character and would end there. "
                         "Escape it as \\u0000, or leave it out.")
    return data


def snapshot(response):
    """The merged snapshot that an answer's bytes hold; raises Refused or BrokenAnswer."""
    try:
        answer = json.loads(response.decode("utf-8"))
    except (AttributeError, ValueError) as error:
        raise _broken(error) from None
    if not isinstance(answer, dict) or answer.get("version") != 1:
        raise _broken("it is not of version 1")
    if "error" in answer:
        raise Refused(answer["error"]) if isinstance(answer["error"], str) else _broken(
            "its error is no text")
    records = answer.get("records")
    if not isinstance(records, list) or not all(
            isinstance(each, dict) and isinstance(each.get("uuid"), str) for each in records):
        raise _broken("it holds no records")
    return answer


def _broken(reason):
    return BrokenAnswer(f"The library’s answer couldn’t be understood ({reason}). "
                        "Use a host and a library of the same version.")


class Bridge:
    """The library, loaded. One is enough for a process; any thread may use it."""

    def __init__(self, path=None):
        path = path or os.environ.get("KELTO_LIBRARY") or "libkelto.so.1"
        try:
            self._library = ctypes.CDLL(path)
        except OSError as error:
            raise Unusable(f"Kelto’s library couldn’t be loaded ({error}). Build it with "
                           "“./dev build”, and name libkelto.so.1 in KELTO_LIBRARY.") from None
        for name, result, *arguments in (
                ("kelto_apple_group_path", ctypes.c_void_p),
                ("kelto_apple_free", None, ctypes.c_void_p),
                ("kelto_apple_cloud_available", ctypes.c_int32),
                ("kelto_apple_exchange", None, ctypes.c_char_p, ctypes.c_ssize_t, _Callback)):
            if not hasattr(self._library, name):
                raise Unusable(f"“{path}” isn’t Kelto’s library (it has no function {name}). "
                               "Name libkelto.so.1 in KELTO_LIBRARY.")
            getattr(self._library, name).restype = result
            getattr(self._library, name).argtypes = arguments

    def available(self):
        """May this build, in this process, use the synced library?"""
        return self._library.kelto_apple_cloud_available() == 1

    def group_path(self):
        """The folder that holds the shared copy, or None."""
        pointer = self._library.kelto_apple_group_path()
        if pointer is None:
            return None
        try:
            return os.fsdecode(ctypes.string_at(pointer))
        finally:
            self._library.kelto_apple_free(pointer)

    def store_path(self):
        """What every request names as "storePath"; raises Unusable where there is no such place."""
        if not self.available():
            raise Unusable("The synced library is switched off. Unset KELTO_DISABLE_CLOUDKIT and "
                           "KELTO_CLOUDKIT_ENABLED, or take a build that has the entitlements.")
        group = self.group_path()
        if group is None:
            raise Unusable("There is no folder for the synced library. "
                           "Set HOME to the path of your home folder.")
        return group + "/Library/Kelto.store"

    def start(self, request, answered):
        """Starts an exchange, from any thread, and returns. answered(bytes) is called once, on the
        main thread, when GLib's loop turns there; snapshot(bytes) makes something of them."""
        self._start(request, answered, _answered)

    def _start(self, request, answered, callback):
        data = encoded(request)
        ticket = next(_tickets)
        _waiting[ticket] = answered
        self._library.kelto_apple_exchange(data, ticket, callback)
        wake()

    async def exchange(self, request):
        """The merged snapshot. To cancel it ends the waiting, not the exchange. On the main thread
        GLib's context turns meanwhile; another thread's loop relies on the main thread for that."""
        loop = asyncio.get_running_loop()
        future = loop.create_future()
        turns = turns_in(loop) if threading.current_thread() is threading.main_thread() else None

        def settle(response):
            if not future.done():
                future.set_result(response)

        def answered(response):
            if turns:
                turns.release()
            if not loop.is_closed():
                loop.call_soon_threadsafe(settle, response)

        if turns:
            self._hold(turns)
        try:
            self._start(request, answered, _put_down if turns else _answered)
        except BaseException:
            if turns:
                turns.release()
            raise
        return snapshot(await future)

    def exchange_blocking(self, request):
        """The merged snapshot. For the main thread of a program that runs no loop."""
        if threading.current_thread() is not threading.main_thread():
            raise BadRequest("Only the main thread may wait for the library. "
                             "Call exchange_blocking there, or start() from here.")
        answers = []
        self._start(request, answers.append, _put_down)
        turn_until(lambda: answers)
        return snapshot(answers[0])

    @staticmethod
    def _hold(turns):
        try:
            turns.hold()
        except AnotherThread:
            raise BadRequest("Another thread runs GLib’s default main context. "
                             "Call start() on any thread, and wait for the answer.") from None
