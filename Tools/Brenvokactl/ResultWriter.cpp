// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/ResultWriter.h"

#include "Brenvokactl/Result.h"
#include "Text/ShownText.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto gap = "  "_L1;

QString textCell(const QString &text, const Result::Column &column)
{
    const QString shown = shownName(text);
    return column.textWidth > 0 ? beginningOf(shown, column.textWidth) : shown;
}

QList<QStringList> textRows(const Result &result)
{
    QList<QStringList> rows;
    rows.append(QStringList());
    for (const Result::Column &column : result.columns)
        rows.first().append(column.name);
    for (const QStringList &row : result.rows) {
        QStringList cells;
        for (qsizetype index = 0; index < row.size(); ++index)
            cells.append(textCell(row.at(index), result.columns.at(index)));
        rows.append(cells);
    }
    return rows;
}

QList<qsizetype> widths(const QList<QStringList> &rows)
{
    QList<qsizetype> result(rows.first().size());
    for (const QStringList &row : rows) {
        for (qsizetype index = 0; index < row.size(); ++index)
            result[index] = std::max(result.at(index), row.at(index).size());
    }
    return result;
}

QString aligned(const QStringList &row, const QList<qsizetype> &columnWidths)
{
    QString line;
    for (qsizetype index = 0; index < row.size(); ++index)
        line += row.at(index).leftJustified(columnWidths.at(index)) + gap;
    while (line.endsWith(u' '))
        line.chop(1);
    return line;
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

/// The first line says how it is, so it has the color.
QString textOf(const Result &result, bool colored)
{
    QStringList lines;
    for (const QString &line : result.summary)
        lines.append(shownName(line));
    if (colored && !lines.isEmpty())
        lines.first() = colors(result.exitCode) + lines.first() + u"\x1b[0m"_s;
    if (!result.rows.isEmpty()) {
        const QList<QStringList> rows = textRows(result);
        const QList<qsizetype> columnWidths = widths(rows);
        lines.append(QString());
        for (const QStringList &row : rows)
            lines.append(aligned(row, columnWidths));
    }
    if (!result.remarks.isEmpty())
        lines.append(QString());
    for (const QString &line : result.remarks)
        lines.append(shownName(line));
    return lines.join(u'\n') + u'\n';
}

/// RFC 4180 with a quote around every cell.
QString csvCell(QString text)
{
    constexpr auto formulaStarts = "=+-@\t\r"_L1;
    if (!text.isEmpty() && formulaStarts.contains(text.at(0)))
        text.prepend(u'\'');
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
    QStringList names;
    for (const Result::Column &column : result.columns)
        names.append(column.name);
    QString text = csvRow(names);
    for (const QStringList &row : result.rows)
        text += csvRow(row);
    return text;
}

} // namespace

QByteArray formatted(const Result &result, Format format, bool colored)
{
    switch (format) {
    case Format::Json:
        return QJsonDocument(result.json).toJson();
    case Format::Csv:
        return csvOf(result).toUtf8();
    default:
        return textOf(result, colored).toUtf8();
    }
}
