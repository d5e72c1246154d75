#!/usr/bin/env python3
"""terminal_test.py KELTOCTL SAMPLES: what keltoctl does on a terminal, and only there. The terminal is
a pair of pseudo devices, as a terminal's window has them."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import sys
import tempfile
import termios
import unicodedata

keltoctl, samples = sys.argv[1:]
folder = tempfile.TemporaryDirectory(prefix="keltoctl-")
failures = []


def expect(isTrue, what, shown=""):
    if not isTrue:
        failures.append(what + (": " + repr(shown)[:2000] if shown else ""))


def on_terminal(*arguments, columns=60, typed="", **variables):
    """Runs a command on a terminal of that width; answers its status and all that it shows."""
    environment = {
        "PATH": os.environ["PATH"],
        "XDG_DATA_HOME": folder.name + "/data",
        "XDG_STATE_HOME": folder.name + "/state",
        "LC_ALL": "C.UTF-8",
        "TERM": "xterm",
        **variables,
    }
    screen, device = pty.openpty()
    fcntl.ioctl(device, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    process = subprocess.Popen([keltoctl, *arguments], env=environment, stdin=device, stdout=device,
                               stderr=device)
    os.close(device)
    os.write(screen, typed.encode())
    shown = b""
    while True:
        try:
            part = os.read(screen, 65536)
        except OSError:  # the last program at the other end has gone
            break
        if not part:
            break
        shown += part
    os.close(screen)
    return process.wait(timeout=60), shown.decode().replace("\r\n", "\n")


def width(line):
    plain = re.sub("\x1b\\[[0-9;]*[mK]", "", line)
    return sum(0 if unicodedata.combining(one) else 2 if unicodedata.east_asian_width(one) in "WF" else 1
               for one in plain)


status, shown = on_terminal("import", samples)
expect(status == 0, "import fails", shown)
expect("\r\x1b[KReading 1 of " in shown, "import shows no progress", shown)
title = "A title that is longer than the line 日本語 🛒 👩‍👩‍👧‍👦 " * 3
status, shown = on_terminal("add", "note", "text", "--title", title)
expect(status == 0, "add fails", shown)

for columns in (30, 60, 100):
    for command in ("tree", "list"):
        status, shown = on_terminal(command, columns=columns)
        table = shown.split("\n\n")[0]
        # A family of four is one character of two columns for some terminals, and four of two for
        # this test: only lines without one are measured.
        wide = [line for line in table.splitlines() if "\u200d" not in line and width(line) > columns]
        expect(not wide, f"{command} is wider than {columns} columns", wide)
        expect(len(table.splitlines()) > 25, f"{command} shows too little", table)
        expect("…" in table, f"{command} cuts nothing at {columns} columns", table)

coloured = "\x1b[2m"
expect(coloured in on_terminal("list")[1], "a terminal gets no colours")
expect(coloured in on_terminal("list", NO_COLOR="")[1], "an empty NO_COLOR forbids colours")
expect(coloured not in on_terminal("list", NO_COLOR="1")[1], "NO_COLOR is not respected")
expect(coloured not in on_terminal("list", TERM="dumb")[1], "a dumb terminal gets colours")
expect(coloured not in on_terminal("list", "--color", "never")[1], "--color never is not respected")
expect(coloured in on_terminal("list", "--color", "always", NO_COLOR="1")[1],
       "--color always is not respected")
expect("\x1b" not in on_terminal("list", "--json")[1], "--json has colours")

status, shown = on_terminal("list", "--kind", "note", "--json")
note = re.search('"uuid": "([^"]*)"', shown).group(1)
status, shown = on_terminal("delete", note, typed="n\n")
expect(status == 1 and "for good? [y/N]" in shown and "nothing was changed" in shown,
       "delete does not ask, or does not listen", shown)
status, shown = on_terminal("delete", note, "--dry-run")
expect(status == 0 and "[y/N]" not in shown, "delete --dry-run asks", shown)
status, shown = on_terminal("delete", note, typed="y\n")
expect(status == 0 and "Deleted" in shown, "delete does not delete after a yes", shown)

for failure in failures:
    print(failure, file=sys.stderr)
sys.exit(1 if failures else 0)
