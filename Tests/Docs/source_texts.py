# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Reads the texts for the operator from C++ sources."""

import re

# The function and the number of the argument that is the text.
CALLS = {"tr": 0, "QT_TR_NOOP": 0, "QT_TR_N_NOOP": 0, "QT_TRANSLATE_NOOP": 1,
         "QT_TRANSLATE_N_NOOP": 1, "translate": 1}
CALL = re.compile(rf"\b({'|'.join(CALLS)})\s*\(")
TOKEN = re.compile(r"""(?P<comment>//[^\n]*|/\*.*?\*/)
                     | (?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\s]*)\((?P<rawtext>.*?)\)(?P=mark)")
                     | (?P<text>(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*")
                     | (?P<character>'(?:[^'\\\n]|\\.)+')
                     | (?P<space>\s+)
                     | (?P<other>\w+|.)""", re.X | re.S)
ESCAPES = {"n": "\n", "t": "\t", "r": "\r", "0": "\0", "a": "\a", "b": "\b", "f": "\f", "v": "\v"}


class Unreadable(Exception):
    """An argument that is neither a text nor the name of a variable."""


def unescaped(literal):
    def character(match):
        code = match[1]
        if code[0] in "xuU" and len(code) > 1:
            return chr(int(code[1:], 16))
        if code.isdigit():
            return chr(int(code, 8))
        return ESCAPES.get(code, code)
    inner = literal[literal.index('"') + 1:-1]
    return re.sub(r"\\(x[0-9a-fA-F]+|u[0-9a-fA-F]{4}|U[0-9a-fA-F]{8}|[0-7]{1,3}|.)", character, inner,
                  flags=re.S)


def tokens(code):
    return [match for match in TOKEN.finditer(code)
            if match.lastgroup not in ("comment", "space")]


def arguments(parts, start):
    """The arguments of the call whose opening parenthesis is at `start`, as lists of tokens."""
    depth, found = 0, [[]]
    for token in parts[start:]:
        mark = token[0] if token.lastgroup == "other" else ""
        if mark and mark in "([{":
            depth += 1
            if depth == 1:
                continue
        elif mark and mark in ")]}":
            depth -= 1
            if depth == 0:
                return found
        elif mark == "," and depth == 1:
            found.append([])
            continue
        found[-1].append(token)
    raise Unreadable("a call without its end")


def joined(argument):
    """The text of adjacent literals. None for a variable, whose texts are marked elsewhere."""
    if len(argument) == 1 and argument[0].lastgroup == "other":
        return None
    text = ""
    for token in argument:
        if token["raw"]:
            text += token["rawtext"]
        elif token["text"]:
            text += unescaped(token[0])
        else:
            raise Unreadable(" ".join(part[0] for part in argument))
    return text


def texts(code):
    """Pairs of context and text; the context is empty for that of the class."""
    parts = tokens(code)
    for position, token in enumerate(parts[:-1]):
        if token.lastgroup != "other" or token[0] not in CALLS or parts[position + 1][0] != "(":
            continue
        given = arguments(parts, position + 1)
        number = CALLS[token[0]]
        if len(given) <= number:
            continue  # a declaration, or another function of that name
        text = joined(given[number])
        if text is not None:
            yield (joined(given[0]) or "" if number else ""), text
