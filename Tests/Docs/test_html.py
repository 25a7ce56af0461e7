# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The manual as web pages: every link and picture resolves, and the pages are well formed."""

import html.parser
import os
import pathlib
import unittest

HTML = pathlib.Path(os.environ["BRENVOKA_HTML"])
PAGES = sorted(HTML.glob("*.html"))
VOID = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "wbr"}


class Page(html.parser.HTMLParser):
    """The links, pictures and anchors of a page, and what is wrong with its elements."""

    def __init__(self, text):
        super().__init__()
        self.links, self.pictures, self.ids, self.errors, self.counts = [], [], [], [], {}
        self._open = []
        self.feed(text)
        self.close()
        self.errors += [f"<{tag}> is not closed" for tag in self._open]

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.counts[tag] = self.counts.get(tag, 0) + 1
        if len(values) < len(attrs):
            self.errors.append(f"<{tag}> has an attribute twice")
        self.ids += [values["id"]] if "id" in values else []
        self.links += [values["href"]] if "href" in values else []
        if tag == "img":
            self.pictures.append((values.get("src"), values.get("alt")))
        if tag not in VOID:
            self._open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)

    def handle_endtag(self, tag):
        if not self._open or self._open[-1] != tag:
            self.errors.append(f"</{tag}> in <{self._open[-1] if self._open else 'nothing'}>")
        else:
            self._open.pop()


class Html(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = {file.name: Page(file.read_text(encoding="utf-8")) for file in PAGES}

    def test_pagesOfTheManualExist(self):
        self.assertEqual(set(self.pages), {f"{name}.html" for name in (
            "operator", "messages", "brenvokactl", "network", "behaviour", "protocol")})

    def test_elementsAreClosedInOrder(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertEqual(page.errors, [])

    def test_anchorsAreUnique(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertEqual(sorted({id for id in page.ids if page.ids.count(id) > 1}), [])

    def test_pagesHaveATitleAndContents(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertTrue(HTML.joinpath(name).read_text().startswith("<!DOCTYPE html>"))
                for tag in ("title", "h1", "main"):
                    self.assertEqual(page.counts.get(tag), 1, tag)
                self.assertGreater(len([link for link in page.links if link.startswith("#")]), 3)

    def test_linksLeadToPagesAndAnchors(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertGreater(len(page.links), 6)
                for link in page.links:
                    if "://" in link:
                        continue
                    file, _, anchor = link.partition("#")
                    self.assertTrue((HTML / (file or name)).is_file(), link)
                    self.assertFalse(file.endswith(".md"), link)
                    if anchor:
                        self.assertIn(anchor, self.pages[file or name].ids, link)

    def test_everyPageIsLinkedFromEveryPage(self):
        for name, page in self.pages.items():
            with self.subTest(page=name):
                self.assertEqual(set(self.pages) - set(page.links), set())

    def test_picturesExistAndAreDescribed(self):
        shown = 0
        for name, page in self.pages.items():
            with self.subTest(page=name):
                for source, description in page.pictures:
                    self.assertTrue((HTML / source).is_file(), source)
                    self.assertTrue(description, source)
                    shown += 1
        self.assertGreater(shown, 0)

    def test_checkFindsErrors(self):
        text = (HTML / "operator.html").read_text()
        for right, wrong in (("</main>", ""), ("<h1", '<h1 id="a"'), ("<p>", "<p><em>")):
            self.assertIn(right, text)
            self.assertNotEqual(Page(text.replace(right, wrong, 1)).errors, [], wrong)


if __name__ == "__main__":
    unittest.main()
