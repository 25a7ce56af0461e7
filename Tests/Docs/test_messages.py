# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Docs/messages.md lists every text that the program has for operators, and no other."""

import pathlib
import re
import unittest
import xml.etree.ElementTree

from source_texts import Unreadable, texts

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PAGE = ROOT / "Docs/messages.md"
SOURCES = sorted(file for file in (ROOT / "Sources").rglob("*.*") if file.suffix in (".cpp", ".h"))
FORMS = sorted((ROOT / "Sources").rglob("*.ui"))
QT = "QHttp"  # the context of a text that is Qt's own
# Replaced by the program before they are shown, or in tabs that it removes.
NOT_SHOWN = {"Form", "Dialog", "TextLabel", "New Item", "Patches", "Mapper", "Cues"}


def shown(text):
    """As the page writes it: one line, without markup, what is inserted as an ellipsis."""
    text = re.sub(r"</?\w+/?(?: [^<>]*)?>", "", text)
    text = re.sub(r"%(?:L?\d+|n)", "…", text)
    return " ".join(text.split())


def source_texts():
    found = set()
    for file in SOURCES:
        for context, text in texts(file.read_text()):
            # The list of file types is one text, and the dialog has a line for each.
            found |= {shown(part) for part in text.split(";;")} if context != QT else set()
    for file in FORMS:
        for element in xml.etree.ElementTree.parse(file).iter("string"):
            if element.get("notr") != "true" and element.text:
                found.add(shown(element.text))
    return found - NOT_SHOWN


def rows(heading):
    """The rows of the tables whose first column has that heading, as lists of cells."""
    inside = False
    for line in PAGE.read_text().splitlines():
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
        if not cells:
            inside = False
        elif cells[0] == heading:
            inside = True
        elif inside and not re.fullmatch(r"[-: ]+", cells[0]):
            yield cells


def page_texts(heading):
    return [text for cells in rows(heading) for text in re.findall(r"`([^`]+)`", cells[0])]


class Messages(unittest.TestCase):
    maxDiff = None

    def test_everyTextOfTheSourcesIsOnThePage(self):
        self.assertEqual(sorted(source_texts() - set(page_texts("Text"))), [])

    def test_everyTextOnThePageIsInTheSources(self):
        self.assertEqual(sorted(set(page_texts("Text")) - source_texts()), [])

    def test_eachTextIsListedOnce(self):
        listed = page_texts("Text")
        self.assertEqual(sorted({text for text in listed if listed.count(text) > 1}), [])

    def test_everyTextHasItsCauseAndRemedy(self):
        for cells in [*rows("Text"), *rows("Line of the log")]:
            self.assertTrue(len(cells) in (2, 3) and all(cells), cells)

    def test_everyLineOfTheLogIsInTheSources(self):
        code = "\n".join(re.sub(r'"\s*"', "", file.read_text()) for file in SOURCES)
        written = {" ".join(re.sub(r"%(?:ll)?[sd]", "…", text).split())
                   for text in re.findall(r'"((?:[^"\\\n]|\\.)*)"', code)}
        lines = page_texts("Line of the log")
        self.assertGreater(len(lines), 5)
        for line in lines:
            self.assertTrue(any(text.startswith(line) for text in written), line)


class Reader(unittest.TestCase):
    """The reader of the sources finds every form of a text."""

    def check(self, code, *expected):
        self.assertEqual([text for _, text in texts(code)], list(expected))

    def test_literalsAreJoined(self):
        self.check('tr("one "\n   // not "this"\n   "two\\n"\n "three").arg(1);', "one two\nthree")

    def test_escapesAreRead(self):
        self.check(r'tr("a \"b\" \\ \x41\u2026\t");', 'a "b" \\ A…\t')
        self.check('tr(R"x(raw "text" \\n)x");', 'raw "text" \\n')

    def test_pluralFormsAndContextsAreRead(self):
        self.check('tr("%n visuals", "", static_cast<int>(count, 2));', "%n visuals")
        self.check('BVServerBank::tr("one") + QT_TR_NOOP("two")', "one", "two")
        self.assertEqual(list(texts('QCoreApplication::translate("Context", "text")')),
                         [("Context", "text")])

    def test_nestedCallsAreRead(self):
        self.check('f(tr("a, (b"), {tr("c")})', "a, (b", "c")

    def test_commentsAndOtherFunctionsAreSkipped(self):
        self.check('// tr("no")\n/* tr("no") */ text.substr("no"); QString x = "tr(\\"no\\")";')

    def test_variablesAreSkippedAndOtherExpressionsAreNot(self):
        self.check("tr(internalError);")
        with self.assertRaises(Unreadable):
            list(texts('tr(on ? "one" : "two");'))


if __name__ == "__main__":
    unittest.main()
