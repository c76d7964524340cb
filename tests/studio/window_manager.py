# SPDX-License-Identifier: MIT
"""What a window manager does to a window."""

import ctypes

from drag_source import MESSAGE, Event, Message, xlib


def close_window(screen: str, window: int) -> None:
    """Asks a window to close, as the cross in its frame does."""
    x11 = xlib()
    display = ctypes.c_void_p(x11.XOpenDisplay(screen.encode()))
    assert display.value, screen
    protocols, close = (int(x11.XInternAtom(display, name, 0))
                        for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW"))
    event = Event()
    event.message = Message(MESSAGE, 0, 1, display, window, protocols, 32,
                            (ctypes.c_long * 5)(close, 0, 0, 0, 0))
    x11.XSendEvent(display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(event))
    x11.XFlush(display)
    x11.XCloseDisplay(display)
