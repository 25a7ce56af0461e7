# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The picture of the layers shows what CMake links, and what the files include."""

import html
import os
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SOURCES = ROOT / "Sources"
TOOL = ROOT / "Tools/Brenvokactl"
LAYER_OF_FOLDER = {"Controller": "ui", "UI": "ui", "Service/Http": "http", "Brenvokactl": "ctl",
                   "": "brenvoka"}
LAYER_OF_FILE = {"Brenvokactl/main.cpp": "brenvokactl"}
# A task's dialogs have the window as parent, and only its header tells the compiler that the window
# is a widget. Nothing of it is linked.
HEADER_ONLY = {("tasks", "UI/BVMainWindow.h")}


def pairs(pattern, text):
    return set(re.findall(pattern, text))


def linked():
    return pairs(r"(\w+) -> (\w+)\n", pathlib.Path(os.environ["BRENVOKA_LAYERS"]).read_text())


def drawn_in_source():
    arrows = set()
    for user, used in re.findall(r"^ *(\w+) -> ([^;]+);", (ROOT / "Docs/layers.dot").read_text(), re.M):
        arrows |= {(user, name) for name in used.strip("{}").split()}
    return arrows


def drawn_in_picture():
    return pairs(r"<title>(\w+)->(\w+)</title>", html.unescape((ROOT / "Docs/layers.svg").read_text()))


def included():
    arrows = set()
    for file in (file for folder in (SOURCES, TOOL) for file in folder.rglob("*.*")
                 if file.suffix in (".cpp", ".h")):
        user = layer(file.relative_to(SOURCES if SOURCES in file.parents else TOOL.parent).as_posix())
        for header in re.findall(r'^#include "(\w+/[\w/]+\.h)"', file.read_text(), re.M):
            if (user, header) not in HEADER_ONLY and user != layer(header):
                arrows.add((user, layer(header)))
    return arrows


def layer(path):
    folder = pathlib.PurePath(path).parent.as_posix().removeprefix(".")
    return LAYER_OF_FILE.get(path) or LAYER_OF_FOLDER.get(folder, folder.lower())


def reaches(start, end):
    return any(user == start and (used == end or reaches(used, end)) for user, used in linked())


class Links(unittest.TestCase):
    """Needs a configured build."""

    maxDiff = None

    def test_pictureShowsWhatCMakeLinks(self):
        self.assertEqual(sorted(drawn_in_picture()), sorted(linked()))

    def test_pictureIsRenderedFromItsSource(self):
        self.assertEqual(sorted(drawn_in_picture()), sorted(drawn_in_source()))

    def test_noTwoLayersNeedEachOther(self):
        self.assertEqual([arrow for arrow in linked() if reaches(arrow[1], arrow[0])], [])


class Includes(unittest.TestCase):
    """Needs no build: Scripts/check-style.sh runs it as well."""

    maxDiff = None

    def test_foldersIncludeTheLayersThatArrowsLeadTo(self):
        self.assertEqual(sorted(included()), sorted(drawn_in_source()))


if __name__ == "__main__":
    unittest.main()
