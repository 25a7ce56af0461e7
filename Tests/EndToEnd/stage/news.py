# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The news of the focus, as a screen reader hears it.

It is heard in a process of its own: once a process takes events from the accessibility bus, it
believes its picture of the desktop to be kept up to date by them, and a reader that does not take
them all the time no longer finds what was started meanwhile.
"""

import json
import pathlib
import sys

from .children import start
from .waiting import wait_for


class FocusNews:
    """What has the focus from now on, as pairs of name and description."""

    def __init__(self, folder):
        self._path = folder / "focus.txt"
        with open(self._path, "wb") as output:
            self._process = start([sys.executable, "-W", "ignore", "-m", __name__],
                                  stdout=output, cwd=pathlib.Path(__file__).parents[1])
        wait_for(lambda: self._path.read_text().startswith("listening\n"), "the listener")

    def latest(self):
        """What got the focus last; two empty texts while there is no news."""
        heard = self._path.read_text().splitlines()[1:]
        return tuple(json.loads(heard[-1])) if heard else ("", "")

    def close(self):
        self._process.terminate()
        self._process.wait(10)


def listen():
    import pyatspi

    def tell(event):
        if event.detail1:
            print(json.dumps([event.source.name, event.source.description]), flush=True)

    pyatspi.Registry.registerEventListener(tell, "object:state-changed:focused")
    print("listening", flush=True)
    pyatspi.Registry.start()


if __name__ == "__main__":
    listen()
