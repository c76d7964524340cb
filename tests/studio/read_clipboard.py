# SPDX-License-Identifier: MIT
"""Reads the text that a program has copied, as the program that it is pasted into does."""

import ctypes

from drag_source import NOTIFY, Event, xlib

PLACE, TEXT, ROOM = "CLIPBOARD", "UTF8_STRING", 65536  # the answer has less than so many bytes


def clipboard(screen: str) -> str:
    x11 = xlib()
    display = ctypes.c_void_p(x11.XOpenDisplay(screen.encode()))
    assert display.value, screen
    root = ctypes.c_ulong(x11.XDefaultRootWindow(display))
    window = ctypes.c_ulong(x11.XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0))
    place, text = (ctypes.c_ulong(x11.XInternAtom(display, name.encode(), 0))
                   for name in (PLACE, TEXT))
    x11.XConvertSelection(display, place, text, place, window, ctypes.c_ulong(0))
    event = Event()
    while event.kind != NOTIFY:
        x11.XNextEvent(display, ctypes.byref(event))
    kind, left, count = (ctypes.c_ulong() for _ in range(3))
    format = ctypes.c_int()
    data = ctypes.c_void_p()
    x11.XGetWindowProperty(display, window, place, ctypes.c_long(0), ctypes.c_long(ROOM // 4), 0,
                           ctypes.c_ulong(0), ctypes.byref(kind), ctypes.byref(format),
                           ctypes.byref(count), ctypes.byref(left), ctypes.byref(data))
    read = ctypes.string_at(data, count.value) if data.value else b""
    x11.XCloseDisplay(display)
    return read.decode()
