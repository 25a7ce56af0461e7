# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Processes that end with this one, however it ends, and that leave nothing in a home directory.

A server or a program that outlives a killed test keeps its address, or the machine-wide instance,
from every later one.
"""

import ctypes
import signal
import subprocess

_LIBC = ctypes.CDLL(None)
_PR_SET_PDEATHSIG = 1   # prctl(2)


def start(command, **options):
    """As subprocess.Popen, from the main thread; the child is terminated when this process dies."""
    return subprocess.Popen([str(word) for word in command], preexec_fn=_end_with_the_parent,
                            **options)


def _end_with_the_parent():
    _LIBC.prctl(_PR_SET_PDEATHSIG, signal.SIGTERM)


def folders_below(home):
    """The variables that send settings, log and caches to folders below a directory."""
    variables = {}
    for kind in ("config", "data", "cache"):
        folder = home / kind
        folder.mkdir(parents=True, exist_ok=True)
        variables[f"XDG_{kind.upper()}_HOME"] = str(folder)
    return variables
