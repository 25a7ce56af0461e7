# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Three servers as the demonstration and the main end-to-end test want them.

The libraries of "Stage left" and "Stage right" come from one drawing and then differ in every way
that a synchronisation knows: folder names, contents, visuals that one of them lacks. "Foyer"
stands in another subnet.
"""

import pathlib
import shutil

from .servers import MediaServer
from .waiting import wait_for


class Rehearsal:
    def __init__(self, binary, folder, left=("127.0.0.2",), right=("127.0.0.3",)):
        """left and right: the address, then further options of the server."""
        self.folder = pathlib.Path(folder)
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        drawing = ("--generate", "7", "--folders", "8", "--visuals", "14")
        self.servers = []
        try:
            self.left = self._start(binary, left, "Stage left", *drawing)
            shutil.copytree(self.left.library, self.folder / "Stage right")
            self.right = self._start(binary, right, "Stage right")
            self.foyer = self._start(binary, ("127.0.7.2", "--mask", "255.255.255.0"), "Foyer",
                                     "--generate", "8", "--folders", "3", "--visuals", "5")
            self._make_different()
        except BaseException:
            self.close()
            raise

    def _start(self, binary, place, name, *options):
        address, *more = place
        server = MediaServer(binary, address, name, self.folder / name, *more, *options)
        self.servers.append(server)
        return server.wait_until_up()

    def _make_different(self):
        left, right = self.left.slots(), self.right
        assert left, "the drawn library is empty"
        of = lambda folder: [slot for number, slot in sorted(left) if number == folder]  # noqa: E731
        right.rename(1, "001 Dress rehearsal")
        right.rename(6, "006 Encore")
        for slot in of(1)[:3]:
            right.remove(1, slot)
        for slot in of(3):
            right.remove(3, slot)
        right.move(2, of(2)[0], 200)
        picture = self.folder / "another.png"
        shutil.copyfile(next(path for path in self.foyer.library.rglob("*") if _is_png(path)),
                        picture)
        right.upload(4, of(4)[1], picture)
        right.upload(5, 250, picture)
        wait_for(lambda: (5, 250) in right.slots() and right.is_quiet(), "the uploads")

    def close(self):
        for server in self.servers:
            server.close()


def _is_png(path):
    return path.is_file() and path.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
