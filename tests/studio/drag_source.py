# SPDX-License-Identifier: MIT
"""A program that a file is dragged out of: it drops one on a window, as file managers do.

X calls this drag and drop version 5. The source tells the window what it has, and gives it when the
window asks for it."""

import ctypes
from typing import Any

MESSAGE, REQUEST, NOTIFY = 33, 30, 31  # kinds of events
ATOM = 4  # the type of atoms
COPY, PLACE, VERSION = "XdndActionCopy", "XdndSelection", 5


class Message(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("serial", ctypes.c_ulong), ("sent", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("type", ctypes.c_ulong), ("format", ctypes.c_int), ("data", ctypes.c_long * 5)]


class Request(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("serial", ctypes.c_ulong), ("sent", ctypes.c_int),
                ("display", ctypes.c_void_p), ("owner", ctypes.c_ulong),
                ("requestor", ctypes.c_ulong), ("selection", ctypes.c_ulong),
                ("target", ctypes.c_ulong), ("property", ctypes.c_ulong), ("time", ctypes.c_ulong)]


class Notice(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("serial", ctypes.c_ulong), ("sent", ctypes.c_int),
                ("display", ctypes.c_void_p), ("requestor", ctypes.c_ulong),
                ("selection", ctypes.c_ulong), ("target", ctypes.c_ulong),
                ("property", ctypes.c_ulong), ("time", ctypes.c_ulong)]


class Event(ctypes.Union):
    _fields_ = [("kind", ctypes.c_int), ("message", Message), ("request", Request),
                ("notice", Notice), ("room", ctypes.c_long * 24)]


def xlib() -> Any:
    library = ctypes.CDLL("libX11.so.6")
    library.XOpenDisplay.restype = ctypes.c_void_p
    library.XDefaultRootWindow.restype = ctypes.c_ulong
    library.XCreateSimpleWindow.restype = ctypes.c_ulong
    library.XInternAtom.restype = ctypes.c_ulong
    return library


def drop_file(screen: str, window: int, path: str, x: int, y: int) -> None:
    """Drops a file on a window, and gives its name to the window; x and y on the screen."""
    x11 = xlib()
    display = ctypes.c_void_p(x11.XOpenDisplay(screen.encode()))
    assert display.value, screen
    root = ctypes.c_ulong(x11.XDefaultRootWindow(display))
    source = ctypes.c_ulong(x11.XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0))
    target = ctypes.c_ulong(window)

    def atom(name: str) -> int:
        return int(x11.XInternAtom(display, name.encode(), 0))

    def tell(name: str, *data: int) -> None:
        event = Event()
        event.message = Message(MESSAGE, 0, 1, display, window, atom(name), 32,
                                (ctypes.c_long * 5)(source.value, *data))
        x11.XSendEvent(display, target, 0, ctypes.c_long(0), ctypes.byref(event))

    x11.XSetSelectionOwner(display, ctypes.c_ulong(atom(PLACE)), source, ctypes.c_ulong(0))
    tell("XdndEnter", VERSION << 24, atom("text/uri-list"), 0, 0)
    tell("XdndPosition", 0, x << 16 | y, 0, atom(COPY))
    tell("XdndDrop", 0, 0, 0, 0)
    x11.XFlush(display)
    event = Event()
    while event.kind != MESSAGE or event.message.type != atom("XdndFinished"):
        x11.XNextEvent(display, ctypes.byref(event))
        if event.kind != REQUEST:
            continue
        asked = event.request
        text = f"file://{path}\r\n".encode()
        x11.XChangeProperty(display, ctypes.c_ulong(asked.requestor),
                            ctypes.c_ulong(asked.property), ctypes.c_ulong(asked.target), 8, 0,
                            text, len(text))
        answer = Event()
        answer.notice = Notice(NOTIFY, 0, 1, display, asked.requestor, asked.selection,
                               asked.target, asked.property, asked.time)
        x11.XSendEvent(display, ctypes.c_ulong(asked.requestor), 0, ctypes.c_long(0),
                       ctypes.byref(answer))
        x11.XFlush(display)
    x11.XCloseDisplay(display)
