// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Characters.h"
#include "Input.h"
#include "Require.h"
#include "Text/ShownText.h"

#include <QList>

#include <algorithm>

namespace {

bool isLetterOrBlank(char32_t character)
{
    return QChar::isLetterOrNumber(character) || character == U' ';
}

/// Names are UTF-8, but escapes in JSON can contain unpaired surrogates, too.
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

void requireShown(const QString &shown, const QString &text)
{
    const bool isCut = text.size() > longestShownText;
    require(shown.size() <= longestShownText + (isCut ? 1 : 0));
    require(shown.isValidUtf16());
    require(!isCut || shown.endsWith(u'\u2026'));
    if (!isCut && std::ranges::all_of(text.toUcs4(), isLetterOrBlank) && text.isValidUtf16())
        require(shown == text);
}

} // namespace

/// The shown name is short and one line in one direction, and showing it again does not change it.
/// A text that has only letters, digits and blanks is shown unchanged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString text = nameFrom(input);
    const QString name = shownName(text);
    requireShown(name, text);
    require(std::ranges::none_of(name.toUcs4(), breaksLineOrDirection));
    require(name.size() > longestShownText || shownName(name) == name);
    requireShown(shownText(text), text);
    return 0;
}
