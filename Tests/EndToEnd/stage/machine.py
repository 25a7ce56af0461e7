# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""What a machine has once: the running program, and the addresses of the demonstration's servers.

Both are told by a name in the abstract namespace of Unix sockets, which the kernel takes back at
any kind of death.
"""

import errno
import socket


class Occupied(Exception):
    """Says to the operator what is in the way."""


def claim_the_demonstration():
    """A claim that holds until it is closed, so that no two demonstrations disturb each other."""
    return _claim("Brenvoka demonstration",
                  "Another demonstration is running on this machine. End it first.")


def hold_that_no_program_runs():
    """A second start of the program would end at once and without a word."""
    _claim("Global\\Brenvoka", "Brenvoka is already running on this machine. Close it first.").close()


def _claim(name, in_the_way):
    claim = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        claim.bind("\0" + name)
    except OSError as error:
        claim.close()
        if error.errno == errno.EADDRINUSE:
            raise Occupied(in_the_way) from None
        raise
    return claim
