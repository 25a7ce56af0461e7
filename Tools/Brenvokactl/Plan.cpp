// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/Counted.h"
#include "Brenvokactl/LibrarySource.h"
#include "Brenvokactl/PlanCandidates.h"
#include "Model/LibraryComparison.h"
#include "Model/LibraryIndex.h"
#include "Model/SyncQuestion.h"
#include "Model/Warnings.h"
#include "Text/ShownText.h"

#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

using LibraryComparison::SyncPlan;

QJsonArray toJson(const QList<VisualRef> &visuals)
{
    QJsonArray result;
    for (const auto &[folder, slot] : visuals)
        result.append(QJsonArray{folder, slot});
    return result;
}

QString kindName(SyncQuestion::Kind kind)
{
    return kind == SyncQuestion::Large         ? u"large"_s
           : kind == SyncQuestion::Destructive ? u"destructive"_s
                                               : u"none"_s;
}

QJsonObject toJson(const SyncPlan &plan, const SyncQuestion &question)
{
    QJsonArray renames;
    for (const auto &[folder, name] : plan.renames)
        renames.append(QJsonObject{{u"folder"_s, folder}, {u"name"_s, name}});
    return {{u"renames"_s, renames},
            {u"removals"_s, toJson(plan.removals)},
            {u"transfers"_s, toJson(plan.transfers)},
            {u"question"_s, kindName(question.kind())},
            {u"text"_s, question.text()}};
}

/// The name of a folder or visual; empty for null.
template <typename Record>
QString nameOf(const Record *record)
{
    return record ? record->name : QString();
}

QList<QStringList> rowsOf(const SyncPlan &plan, const LibraryIndex &source,
                          const LibraryIndex &destination)
{
    QList<QStringList> rows;
    for (const auto &[folder, name] : plan.renames)
        rows.append({u"rename"_s, QString::number(folder), QString(), name,
                     nameOf(destination.folder(folder))});
    const auto append = [&](const QString &action, const QList<VisualRef> &visuals) {
        for (const VisualRef &visual : visuals)
            rows.append({action, QString::number(visual.first), QString::number(visual.second),
                         nameOf(source.visual(visual)), nameOf(destination.visual(visual))});
    };
    append(u"remove"_s, plan.removals);
    append(u"transfer"_s, plan.transfers);
    return rows;
}

QStringList questionLines(const SyncQuestion &question)
{
    if (question.kind() == SyncQuestion::None)
        return {u"The window would start at once, without a question."_s};
    QStringList lines{u"The window would ask (unless this question is disabled in it):"_s};
    for (const QString &line : question.text().split(u'\n'))
        lines.append(line.isEmpty() ? line : u"  "_s + line);
    return lines;
}

bool isEmpty(const SyncPlan &plan)
{
    return plan.renames.isEmpty() && plan.visualCount() == 0;
}

QString verdict(const SyncPlan &plan)
{
    if (isEmpty(plan))
        return u"Nothing to do"_s;
    return u"%1, %2, %3"_s.arg(counted(plan.renames.size(), "rename"_L1),
                               counted(plan.removals.size(), "removal"_L1),
                               counted(plan.transfers.size(), "transfer"_L1));
}

} // namespace

Expected<Result> Commands::plan(const CommandLine &line)
{
    const Expected<LibrarySource> a = LibrarySource::get(line.arguments.at(0), line.timeout);
    if (!a)
        return Expected<Result>::failure(a.error);
    const Expected<LibrarySource> b = LibrarySource::get(line.arguments.at(1), line.timeout);
    if (!b)
        return Expected<Result>::failure(b.error);
    const SyncPlan plan =
        LibraryComparison::planSync(a->server, b->server, planCandidates(line, a->server));
    const SyncQuestion question(plan, Warnings::all, shownName(a->source), shownName(b->source));

    Result result;
    result.exitCode = isEmpty(plan) ? ExitCode::good : ExitCode::other;
    result.json = toJson(plan, question);
    result.summary = {verdict(plan), u"from "_s + a->summary(), u"to "_s + b->summary()};
    result.columns = {{u"action"_s}, {u"folder"_s}, {u"slot"_s}, {u"A"_s}, {u"B"_s}};
    result.rows = rowsOf(plan, LibraryIndex(a->server.folders), LibraryIndex(b->server.folders));
    if (!isEmpty(plan))
        result.remarks = questionLines(question);
    return result;
}
