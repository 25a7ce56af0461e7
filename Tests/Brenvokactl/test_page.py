# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The output in Docs/brenvokactl.md is what the commands in it print.

With BRENVOKA_WRITE_PAGE=1 the page gets the present output.
"""

import os
import re
import shlex
import shutil
import unittest

from brenvokactl import BUILD, ROOT, MediaServer, ProgramCase
from fixtures.library import lay_out

PAGE = ROOT / "Docs/brenvokactl.md"
BLOCK = re.compile(r"^```\n(\$ .*?)^```$", re.M | re.S)
CLIPS = ("Aurora", "Sunset", "Canyon", "Rain")


def without_what_varies(text):
    """Times, how often a sender was heard, sizes of files, widths of columns."""
    text = re.sub(r"20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ", "TIME", text)
    text = re.sub(r"\d+ +(yes|no)\b", r"COUNT \1", text)
    text = re.sub(r"^(\S+\.txt) +\d+ ", r"\1 SIZE ", text, flags=re.M)
    return re.sub(r" +", " ", text)


class Page(ProgramCase):
    def setUp(self):
        super().setUp()
        left = self.folder / "Stage left"
        lay_out(left, {(folder, slot): (f"{name}.mov", f"{folder}/{name}".encode())
                       for folder in (0, 1, 2) for slot, name in enumerate(CLIPS, 1)})
        for folder, name in enumerate(("Loops", "Rehearsal", "Finale")):
            (left / f"{folder:03d}/folder.name").write_text(name)
        shutil.copytree(left, self.folder / "Stage right")
        self.start("127.0.0.2", "Stage left")
        right = self.start("127.0.0.3", "Stage right")
        right.rename(1, "Dress rehearsal")
        right.remove(1, 2)
        right.move(2, 4, 9)
        self.start("127.0.0.4", "Foyer", "--mask-network-order")
        self.start("127.0.0.5", "Workshop", "--bad-json", "--no-announce")

    def start(self, address, name, *options):
        server = MediaServer(BUILD / "media-server", address, name, self.folder / name, *options)
        self.addCleanup(server.close)
        return server.wait_until_up()

    def run_block(self, block):
        """The commands of a block, each with its output."""
        text = ""
        for command in re.findall(r"^\$ brenvokactl (.*)$", block, re.M):
            done = self.run_program(*shlex.split(command))
            text += f"$ brenvokactl {command}\n{(done.stdout + done.stderr).decode()}"
        return text

    def test_output_is_that_of_the_commands(self):
        page = PAGE.read_text()
        written = BLOCK.findall(page)
        self.assertGreater(len(written), 7)
        actual = [self.run_block(block) for block in written]
        if os.environ.get("BRENVOKA_WRITE_PAGE"):
            outputs = iter(actual)
            PAGE.write_text(BLOCK.sub(lambda match: f"```\n{next(outputs)}```", page))
            return
        for block, output in zip(written, actual):
            self.assertEqual(without_what_varies(block), without_what_varies(output))


if __name__ == "__main__":
    unittest.main(verbosity=2)
