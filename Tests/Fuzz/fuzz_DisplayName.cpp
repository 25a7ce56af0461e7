// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Require.h"
#include "UI/SingleLine.h"

namespace {

constexpr qsizetype longestLine = 4096;

bool breaksLine(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
           c.category() == QChar::Separator_Paragraph;
}

bool setsDirection(QChar c)
{
    return (c >= u'\u202a' && c <= u'\u202e') || (c >= u'\u2066' && c <= u'\u2069');
}

/// The implicit direction marks may be drawn either way.
bool marksDirection(QChar c)
{
    return c == u'\u061c' || c == u'\u200e' || c == u'\u200f';
}

bool isDrawn(QChar c, QChar original)
{
    if (breaksLine(original) || setsDirection(original))
        return c == u' ';
    return c == original || (marksDirection(original) && c == u' ');
}

/// Names come as UTF-8, and JSON can state half a pair of surrogates as well.
QString nameFrom(Input &input)
{
    if (input.byte() % 2 == 0)
        return QString::fromUtf8(input.all());
    const QByteArray bytes = input.all();
    QString name;
    for (qsizetype index = 0; index + 1 < bytes.size(); index += 2)
        name += QChar(uchar(bytes[index]), uchar(bytes[index + 1]));
    return name;
}

} // namespace

/// A line has the characters of the name up to its length, with a blank for each that may not be
/// drawn.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString name = nameFrom(input);
    const QString line = singleLine(name);
    const qsizetype shown = std::min(name.size(), longestLine);
    require(line.size() == (name.size() > longestLine ? longestLine + 1 : name.size()));
    require(name.size() <= longestLine || line.endsWith(u'\u2026'));
    for (qsizetype index = 0; index < shown; ++index)
        require(isDrawn(line[index], name[index]));
    require(name.size() > longestLine || singleLine(line) == line);
    return 0;
}
