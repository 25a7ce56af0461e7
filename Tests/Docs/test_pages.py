# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The pages link to what exists, name files that exist, and list what they say they list."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FOLDERS = ("Docs", "Packaging", "Scripts", "Sources", "Tests", "Tools")
PAGES = sorted([*ROOT.glob("*.md"),
                *(page for name in FOLDERS for page in (ROOT / name).rglob("*.md"))])
TOP = {entry.name for entry in ROOT.iterdir() if entry.is_dir()} - {"build"}
FENCED = re.compile(r"^```.*?^```", re.M | re.S)
LINK = re.compile(r"\]\(([^)]+)\)")


def name_of(page):
    return page.relative_to(ROOT).as_posix()


def prose(page):
    """The text without its fenced blocks."""
    return FENCED.sub("", page.read_text())


def anchors(page):
    """The anchors of the headings, as hosts of Markdown pages form them."""
    headings = re.findall(r"^#+ (.+)$", prose(page), re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def paths(page):
    """What looks like a path of the repository, in inline code and in fenced blocks."""
    code = FENCED.findall(page.read_text()) + re.findall(r"`([^`\n]+)`", prose(page))
    for word in " ".join(code).split():
        word = word.removeprefix("./").rstrip(",;:")
        if re.fullmatch(r"[\w.*-]+(/[\w.*-]+)+/?", word) and word.split("/")[0] in TOP:
            yield word


class Links(unittest.TestCase):
    def test_linkTargetsExist(self):
        for page in PAGES:
            for target in LINK.findall(prose(page)):
                with self.subTest(page=name_of(page), target=target):
                    if "://" in target:
                        continue
                    path, _, anchor = target.partition("#")
                    file = page.parent / path if path else page
                    self.assertTrue(file.exists())
                    if anchor:
                        self.assertIn(anchor, anchors(file))

    def test_pathsExist(self):
        for page in PAGES:
            for path in paths(page):
                with self.subTest(page=name_of(page), path=path):
                    self.assertTrue(any(ROOT.glob(path.rstrip("/"))))

    def test_checkFindsLinksAndPaths(self):
        self.assertIn(ROOT / "README.md", PAGES)
        self.assertIn("Docs/operator.md", LINK.findall(prose(ROOT / "README.md")))
        self.assertIn("Scripts/install-packages.sh", paths(ROOT / "README.md"))
        self.assertIn("Scripts/*-suppressions.txt", paths(ROOT / "CONTRIBUTING.md"))


class Names(unittest.TestCase):
    def test_namesOfTheCodeExist(self):
        files = [file for name in ("Sources", "Tests") for pattern in ("*.h", "*.cpp")
                 for file in (ROOT / name).rglob(pattern)]
        code = "\n".join([*(file.read_text() for file in files), *(file.stem for file in files)])
        known = {*re.findall(r"\w+(?:::\w+)*", code),
                 *re.findall(r"(?=\b(\w+::\w+))", code)}
        for page in (ROOT / "Docs/architecture.md", ROOT / "CONTRIBUTING.md"):
            named = re.findall(r"`(\w+(?:::\w+)?)`", prose(page))
            unknown = {name for name in named if re.search("::|[a-z][A-Z]", name)} - known
            self.assertEqual(unknown, set(), name_of(page))


class Lists(unittest.TestCase):
    def test_readmeLinksEveryPageOfDocs(self):
        linked = set(LINK.findall(prose(ROOT / "README.md")))
        self.assertEqual({name_of(page) for page in (ROOT / "Docs").glob("*.md")} - linked, set())

    def test_fixturesAreListed(self):
        listed = set(re.findall(r"`([\w/]+\.h)`", prose(ROOT / "Tests/README.md")))
        headers = {header.relative_to(ROOT / "Tests").as_posix().removeprefix("Support/")
                   for header in (ROOT / "Tests").rglob("*.h")}
        self.assertEqual(headers - listed, set())

    def test_exampleIsTheFile(self):
        example = (ROOT / "Tests/Protocol/tst_FeatureList.cpp").read_text()
        self.assertIn(f"```cpp\n{example}```\n", (ROOT / "Tests/README.md").read_text())


if __name__ == "__main__":
    unittest.main()
