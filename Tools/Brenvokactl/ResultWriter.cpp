// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/ResultWriter.h"

#include "Brenvokactl/Result.h"
#include "Text/ShownText.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype gap = 2; ///< blanks between two columns
/// Longer cells are not aligned: one name of 4,096 characters would fill every row with blanks.
constexpr qsizetype widestColumn = 80;

QString textCell(const QString &text, const Result::Column &column)
{
    const QString shown = shownName(text);
    return column.textWidth > 0 ? beginningOf(shown, column.textWidth) : shown;
}

/// Each cell once, in place: two full libraries that share nothing have half a million.
void makeTextCells(Result &result)
{
    for (QStringList &row : result.rows) {
        for (qsizetype index = 0; index < row.size(); ++index)
            row[index] = textCell(row.at(index), result.columns.at(index));
    }
}

QList<qsizetype> widths(const Result &result)
{
    QList<qsizetype> list;
    for (qsizetype index = 0; index < result.columns.size(); ++index) {
        qsizetype width = result.columns.at(index).name.size();
        for (const QStringList &row : result.rows)
            width = std::max(width, row.at(index).size());
        list.append(std::min(width, widestColumn));
    }
    return list;
}

/// Appends one line. No blanks follow its last text.
void appendLine(QString &text, const QStringList &cells, const QList<qsizetype> &columnWidths)
{
    qsizetype blanks = 0;
    for (qsizetype index = 0; index < cells.size(); ++index) {
        const QString &cell = cells.at(index);
        if (!cell.isEmpty()) {
            text.resize(text.size() + blanks, u' ');
            text += cell;
            blanks = 0;
        }
        blanks += std::max<qsizetype>(columnWidths.at(index) - cell.size(), 0) + gap;
    }
    text += u'\n';
}

QStringList columnNames(const Result &result)
{
    QStringList names;
    for (const Result::Column &column : result.columns)
        names.append(column.name);
    return names;
}

void appendTable(QString &text, const Result &result)
{
    const QList<qsizetype> columnWidths = widths(result);
    appendLine(text, columnNames(result), columnWidths);
    for (const QStringList &row : result.rows)
        appendLine(text, row, columnWidths);
}

QString colors(int exitCode)
{
    switch (exitCode) {
    case ExitCode::good:
        return u"\x1b[32m"_s;
    case ExitCode::other:
        return u"\x1b[33m"_s;
    default:
        return u"\x1b[31m"_s;
    }
}

/// The first line is the verdict, so it has the color.
QString textOf(Result result, bool colored)
{
    makeTextCells(result);
    QString text;
    for (const QString &line : result.summary)
        text += shownName(line) + u'\n';
    if (colored && !text.isEmpty())
        text = colors(result.exitCode) + text.insert(text.indexOf(u'\n'), u"\x1b[0m"_s);
    if (!result.rows.isEmpty()) {
        text += u'\n';
        appendTable(text, result);
    }
    if (!result.remarks.isEmpty())
        text += u'\n';
    for (const QString &line : result.remarks)
        text += shownName(line) + u'\n';
    return text;
}

/// RFC 4180 with a quote around every cell. Of control characters it allows only line breaks, and
/// these would divide a row.
QString csvCell(QString text)
{
    constexpr auto formulaStarts = "=+-@\t\r"_L1;
    if (!text.isEmpty() && formulaStarts.contains(text.at(0)))
        text.prepend(u'\'');
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    return u'"' + text.replace(u'"', u"\"\""_s) + u'"';
}

QString csvRow(const QStringList &row)
{
    QStringList cells;
    for (const QString &cell : row)
        cells.append(csvCell(cell));
    return cells.join(u',') + u"\r\n"_s;
}

QString csvOf(const Result &result)
{
    QString text = csvRow(columnNames(result));
    for (const QStringList &row : result.rows)
        text += csvRow(row);
    return text;
}

/// QJsonDocument escapes the control characters below U+0020. A terminal also executes those from
/// U+0080 to U+009F, in UTF-8 the byte 0xC2 and another one.
QByteArray escapedControls(const QByteArray &json)
{
    if (!json.contains('\x7F') && !json.contains('\xC2')) // a large document is not copied
        return json;
    QByteArray result;
    result.reserve(json.size());
    for (qsizetype at = 0; at < json.size(); ++at) {
        if (json.at(at) == '\x7F')
            result += "\\u007f";
        else if (json.at(at) == '\xC2' && static_cast<uchar>(json.at(at + 1)) < 0xA0)
            result += "\\u00" + QByteArray::number(static_cast<uchar>(json.at(++at)), 16);
        else
            result += json.at(at);
    }
    return result;
}

} // namespace

QByteArray formatted(Result result, Format format, bool colored)
{
    switch (format) {
    case Format::Json:
        return escapedControls(result.jsonText.isEmpty() ? QJsonDocument(result.json).toJson()
                                                         : result.jsonText);
    case Format::Csv:
        return csvOf(result).toUtf8();
    default:
        return textOf(std::move(result), colored).toUtf8();
    }
}
