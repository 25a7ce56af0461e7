// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/Counted.h"
#include "Brenvokactl/LibraryDifference.h"
#include "Brenvokactl/LibrarySource.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int shownHash = 8;

QJsonValue toJson(const std::optional<Visual> &visual)
{
    if (!visual)
        return {};
    return QJsonObject{{u"name"_s, visual->name}, {u"hash"_s, visual->hash}};
}

QJsonValue toJson(const std::optional<QString> &name)
{
    return name ? QJsonValue(*name) : QJsonValue();
}

QJsonObject toJson(const FolderDifference &folder)
{
    QJsonArray visuals;
    for (const VisualDifference &visual : folder.visuals)
        visuals.append(QJsonObject{{u"slot"_s, visual.slot},
                                   {u"a"_s, toJson(visual.first)},
                                   {u"b"_s, toJson(visual.second)}});
    return {{u"slot"_s, folder.slot},
            {u"a"_s, toJson(folder.firstName)},
            {u"b"_s, toJson(folder.secondName)},
            {u"visuals"_s, visuals}};
}

/// Made folder by folder: one document of two libraries that share nothing takes 70 MB more.
QByteArray jsonText(const LibrarySource &a, const LibrarySource &b,
                    const LibraryDifference &difference)
{
    const QJsonObject head{{u"equal"_s, difference.isEqual()},
                           {u"differing"_s, difference.slotCount},
                           {u"a"_s, a.toJson()},
                           {u"b"_s, b.toJson()},
                           {u"folders"_s, QJsonArray()}};
    QByteArray text = QJsonDocument(head).toJson();
    const QByteArray end = text.mid(text.lastIndexOf("\n    ]"));
    text.chop(end.size());
    for (const FolderDifference &folder : difference.folders) {
        text += text.endsWith('[') ? "" : ",";
        QByteArray lines = "\n" + QJsonDocument(toJson(folder)).toJson().trimmed();
        text += lines.replace("\n", "\n        ");
    }
    return text + end;
}

/// A row for the folder, if more than its visuals differs, and one for each visual.
void appendRows(QList<QStringList> &rows, const FolderDifference &folder)
{
    const QString slot = QString::number(folder.slot);
    const bool hasSameName = folder.firstName == folder.secondName;
    if (!hasSameName || folder.visuals.isEmpty())
        rows.append({slot, QString(), folder.firstName.value_or(QString()), QString(),
                     folder.secondName.value_or(QString()), QString(),
                     hasSameName ? u"stored order"_s : u"folder name"_s});
    for (const auto &[number, a, b] : folder.visuals) {
        const Visual first = a.value_or(Visual());
        const Visual second = b.value_or(Visual());
        rows.append({slot, QString::number(number), first.name, first.hash, second.name,
                     second.hash,
                     !a   ? u"only in B"_s
                     : !b ? u"only in A"_s
                          : u"visual"_s});
    }
}

QString verdict(const LibraryDifference &difference)
{
    if (difference.isEqual())
        return u"Equal"_s;
    return u"Different: %1, %2"_s.arg(counted(difference.slotCount, "slot"_L1),
                                      counted(difference.folders.size(), "folder"_L1));
}

} // namespace

Expected<Result> Commands::compare(const CommandLine &line)
{
    const Expected<LibrarySource> a = LibrarySource::get(line.arguments.at(0), line.timeout);
    if (!a)
        return Expected<Result>::failure(a.error);
    const Expected<LibrarySource> b = LibrarySource::get(line.arguments.at(1), line.timeout);
    if (!b)
        return Expected<Result>::failure(b.error);
    const LibraryDifference difference = LibraryDifference::between(a->server, b->server);

    Result result;
    result.exitCode = difference.isEqual() ? ExitCode::good : ExitCode::other;
    if (line.format == Format::Json) {
        result.jsonText = jsonText(*a, *b, difference);
        return result;
    }
    result.summary = {verdict(difference), u"A "_s + a->summary(), u"B "_s + b->summary()};
    result.columns = {{u"folder"_s},    {u"slot"_s},
                      {u"A"_s},         {u"A hash"_s, shownHash},
                      {u"B"_s},         {u"B hash"_s, shownHash},
                      {u"difference"_s}};
    for (const FolderDifference &folder : difference.folders)
        appendRows(result.rows, folder);
    return result;
}
