"""Turns GLib's default main context: in an asyncio loop, or in a script that has none.

Only for the main thread of a program whose toolkit does not turn it already.
"""
import ctypes
import weakref


class AnotherThread(Exception):
    """Another thread runs GLib's default main context: what belongs on it belongs there."""


class _PollFd(ctypes.Structure):
    _fields_ = [("fd", ctypes.c_int), ("events", ctypes.c_ushort), ("revents", ctypes.c_ushort)]


_POLL_OUT = 4

_glib = ctypes.CDLL("libglib-2.0.so.0")
_context, _int = ctypes.c_void_p, ctypes.POINTER(ctypes.c_int)
_fds = ctypes.POINTER(_PollFd)
for _name, _result, *_arguments in (
        ("g_main_context_default", _context),
        ("g_main_context_acquire", ctypes.c_int, _context),
        ("g_main_context_release", None, _context),
        ("g_main_context_wakeup", None, _context),
        ("g_main_context_iteration", ctypes.c_int, _context, ctypes.c_int),
        ("g_main_context_prepare", ctypes.c_int, _context, _int),
        ("g_main_context_query", ctypes.c_int, _context, ctypes.c_int, _int, _fds, ctypes.c_int),
        ("g_main_context_check", ctypes.c_int, _context, ctypes.c_int, _fds, ctypes.c_int),
        ("g_main_context_dispatch", None, _context),
        ("g_poll", ctypes.c_int, _fds, ctypes.c_uint, ctypes.c_int)):
    getattr(_glib, _name).restype = _result
    getattr(_glib, _name).argtypes = _arguments
_default = _glib.g_main_context_default()  # Not every function takes NULL for it.


# Functions to be called after each turn of the context that is made here.
after_each_turn = []


def turn_until(done):
    """Turns the context, asleep in between, until done() is true."""
    while not done():
        _glib.g_main_context_iteration(_default, True)
        _look_around()


def _look_around():
    for each in after_each_turn:
        each()


def wake():
    """To be called on this thread after something was added to the context outside of its turns:
    GLib itself wakes only what another thread waits for. Harmless at any other time."""
    _glib.g_main_context_wakeup(_default)


class GlibTurns:
    """Turns the context inside an asyncio loop while somebody holds it.

    GLib is asked which descriptors it would poll and for how long (prepare, query); the asyncio
    loop watches them among its own; when one is ready, GLib looks and calls back (check, dispatch).
    So nothing is asked in vain, and an idle program sleeps. This thread owns the context all the
    time, so GLib wakes one of the descriptors for whatever other threads add."""

    def __init__(self, loop):
        # The loop holds on to this object while it is armed, so no cycle is needed.
        self._loop = weakref.ref(loop)
        self._holders = 0
        self._fds = (_PollFd * 8)()
        self._count = 0
        self._priority = ctypes.c_int()
        self._readers, self._writers = set(), set()
        self._timer = None
        self._armed = False
        self._turning = False

    def hold(self):
        """From now on it turns; raises AnotherThread. To be followed by one release()."""
        if self._holders == 0 and not self._turning:
            if not _glib.g_main_context_acquire(_default):
                raise AnotherThread("Another thread runs GLib’s default main context")
            self._arm()
        self._holders += 1

    def release(self):
        self._holders -= 1
        if self._holders == 0 and not self._turning:
            self._disarm()
            _glib.g_main_context_release(_default)

    def _arm(self):
        timeout = ctypes.c_int(-1)
        _glib.g_main_context_prepare(_default, self._priority)
        while True:
            self._count = _glib.g_main_context_query(
                _default, self._priority, timeout, self._fds, len(self._fds))
            if self._count <= len(self._fds):
                break
            self._fds = (_PollFd * self._count)()
        loop = self._loop()
        for each in self._fds[:self._count]:
            if each.events & ~_POLL_OUT:
                self._readers.add(each.fd)
            if each.events & _POLL_OUT:
                self._writers.add(each.fd)
        for fd in self._readers:
            loop.add_reader(fd, self._turn)
        for fd in self._writers:
            loop.add_writer(fd, self._turn)
        if timeout.value >= 0:
            self._timer = loop.call_later(timeout.value / 1000, self._turn)
        self._armed = True

    def _disarm(self):
        loop = self._loop()
        if loop and not loop.is_closed():
            for fd in self._readers:
                loop.remove_reader(fd)
            for fd in self._writers:
                loop.remove_writer(fd)
        self._readers.clear()
        self._writers.clear()
        if self._timer:
            self._timer.cancel()
        self._timer = None
        self._armed = False

    def _turn(self):
        if not self._armed:
            return  # Two descriptors were ready at once, and the first has been enough.
        self._disarm()
        self._turning = True
        try:
            _glib.g_poll(self._fds, self._count, 0)
            if _glib.g_main_context_check(_default, self._priority, self._fds, self._count):
                _glib.g_main_context_dispatch(_default)
            _look_around()
        finally:
            self._turning = False
            if self._holders > 0:
                self._arm()
            else:
                _glib.g_main_context_release(_default)


_all_turns = weakref.WeakKeyDictionary()


def turns_in(loop):
    """The one GlibTurns of an asyncio loop."""
    if loop not in _all_turns:
        _all_turns[loop] = GlibTurns(loop)
    return _all_turns[loop]
