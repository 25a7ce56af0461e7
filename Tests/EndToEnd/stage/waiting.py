# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Waiting for conditions. Nothing here, and no test, waits for time to pass."""

import functools
import time

from gi.repository import GLib


class TimedOut(AssertionError):
    """A condition did not come about within its bound."""


def wait_for(condition, what, timeout=30.0, interval=0.05):
    """Calls condition until its result is true, and returns that result.

    The bound is generous on purpose: it says when to give up, not how long things may take.
    """
    deadline = time.monotonic() + timeout
    while True:
        try:
            result = condition()
        except (GLib.Error, NotImplementedError):  # the screen changed while its tree was read
            result = None
        if result:
            return result
        if time.monotonic() > deadline:
            raise TimedOut(f"waited {timeout:g} s in vain: {what}")
        time.sleep(interval)


def steady(read):
    """Makes a reader of the screen's tree read again when the tree changed under it."""
    @functools.wraps(read)
    def reader(*arguments, **options):
        return wait_for(lambda: [read(*arguments, **options)], read.__name__)[0]
    return reader
