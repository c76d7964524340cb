# SPDX-License-Identifier: MIT
"""What pictures cost, as the window tells it."""

import os
from typing import Callable

from studio_window import Studio

PACKAGE = os.environ["PACKAGE"]
Start = Callable[..., Studio]


def test_the_cost_of_pictures_is_told(start: Start) -> None:
    studio = start("--size", "160x90", "--from", "42", PACKAGE)
    studio.until(lambda now: now["loads"] == 1 and now["shown"] == 4200)
    studio.key("F3")
    # The graph of the piece is counted while it is shown, and agrees with what was drawn.
    state = studio.until(lambda now: "cost" in now["rects"] and now["cost"]
                         and now["cost"]["counted"] == now["cost"]["values"])
    cost = state["cost"]
    assert cost["tick"] == 4200 and cost["values"] == 2000
    assert cost["draws"] == cost["counted_draws"] > 0 and cost["triangles"] > cost["draws"]
    assert cost["state_calls"] > cost["draws"] and cost["texture_bytes"] > 0
    assert 1 < cost["clips"] <= 24
    for part in ("evaluation_ns", "simulation_ns", "call_ns"):
        assert 0 < cost[part] < cost["swap_ns"], part
    # A picture after a jump also binds what the pictures before it have left; the next does not.
    studio.key("shift+Right")
    cost = studio.until(lambda now: now["cost"]["tick"] == 4201)["cost"]
    assert cost["clip_texture_bytes"] == cost["counted_texture_bytes"] > 0
    # State calls are counted by a copy of the program, for each seventh tick here.
    state = studio.until(lambda now: now["cost"]["state_values"] == now["cost"]["values"])
    agree = 0
    for _ in range(7):
        before = state["shown"]
        studio.key("shift+Right")
        state = studio.until(lambda now, at=before: now["shown"] > at
                             and now["cost"]["tick"] == now["shown"])
        if state["shown"] % 7 == 0:
            cost = state["cost"]
            assert cost["clip_state_calls"] == cost["counted_state_calls"] > 1000
            agree += 1
    assert agree == 1
    # A click into the graph seeks.
    studio.click("triangles", 0.5)
    state = studio.until(lambda now: now["shown"] != 4200 and now["cost"]["tick"] == now["shown"])
    assert 5900 < state["shown"] < 6100
    # So many pictures are kept as were shown.
    studio.key("space")
    studio.until(lambda now: now["cost"]["pictures"] > 10)
    studio.key("space")
    studio.until(lambda now: not now["plays"] and now["cost"]["tick"] == now["shown"])
    studio.key("F3")
    studio.until(lambda now: "cost" not in now["rects"])
