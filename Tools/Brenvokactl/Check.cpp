// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/LibraryCheck.h"
#include "Brenvokactl/LibraryDownload.h"
#include "Brenvokactl/LibrarySource.h"
#include "Brenvokactl/StreamCheck.h"
#include "Brenvokactl/Terminal.h"

#include <QJsonArray>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::chrono::seconds streamTime{2};

QString levelName(Finding::Level level)
{
    switch (level) {
    case Finding::Passed:
        return u"ok"_s;
    case Finding::Refused:
        return u"refused"_s;
    case Finding::Unreachable:
        return u"unreachable"_s;
    default:
        return u"advice"_s;
    }
}

QString numberOrNothing(int number)
{
    return number < 0 ? QString() : QString::number(number);
}

QJsonValue numberOrNull(int number)
{
    return number < 0 ? QJsonValue() : QJsonValue(number);
}

QJsonObject toJson(const Finding &finding)
{
    return {{u"result"_s, levelName(finding.level)},
            {u"subject"_s, finding.subject},
            {u"folder"_s, numberOrNull(finding.folder)},
            {u"slot"_s, numberOrNull(finding.slot)},
            {u"text"_s, finding.text}};
}

QList<Finding> findingsAbout(const QHostAddress &address, const CommandLine &line)
{
    const Terminal::Progress progress(u"Checking %1"_s.arg(address.toString()));
    const LibraryDownload download = LibraryDownload::get(address, line.timeout);
    QList<Finding> findings = LibraryCheck::gates(download);
    const Expected<Server> server = LibraryCheck::read(download);
    if (server)
        findings += LibraryCheck::advice(download, *server);
    if (line.stream && findings.constFirst().level != Finding::Unreachable)
        findings.append(StreamCheck::run(address, streamTime));
    return findings;
}

bool contains(const QList<Finding> &findings, Finding::Level level)
{
    return std::ranges::find(findings, level, &Finding::level) != findings.cend();
}

void setVerdict(Result &result, const QString &address, int exitCode, const QString &word)
{
    result.exitCode = exitCode;
    result.summary = {address + u": "_s + word};
    result.json = {{u"address"_s, address}, {u"result"_s, word}};
}

} // namespace

Expected<Result> Commands::check(const CommandLine &line)
{
    const QString text = line.arguments.at(0);
    const QHostAddress address = ipv4Address(text);
    if (address.isNull())
        return Expected<Result>::failure(text + u": it is no IPv4 address"_s);
    const QList<Finding> findings = findingsAbout(address, line);

    Result result;
    if (contains(findings, Finding::Unreachable))
        setVerdict(result, text, ExitCode::error, u"not reachable"_s);
    else if (contains(findings, Finding::Refused))
        setVerdict(result, text, ExitCode::other, u"refused"_s);
    else
        setVerdict(result, text, ExitCode::good, u"accepted"_s);
    result.columns = {{u"result"_s}, {u"subject"_s}, {u"folder"_s}, {u"slot"_s}, {u"text"_s}};
    QJsonArray list;
    for (const Finding &finding : findings) {
        list.append(toJson(finding));
        result.rows.append({levelName(finding.level), finding.subject,
                            numberOrNothing(finding.folder), numberOrNothing(finding.slot),
                            finding.text});
    }
    result.json.insert(u"findings"_s, list);
    return result;
}
