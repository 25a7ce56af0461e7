// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryCheck.h"

#include "Brenvokactl/LibraryDownload.h"
#include "Brenvokactl/LibraryRules.h"
#include "Protocol/JsonBody.h"
#include "Protocol/LibraryReply.h"

#include <algorithm>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

Finding reachable(const LibraryDownload &download)
{
    if (download.status == 0)
        return {Finding::Unreachable, u"connection"_s, download.error};
    return {Finding::Passed, u"connection"_s, u"the server answers"_s};
}

Finding transfer(const LibraryDownload &download)
{
    const QString status = u"HTTP status %1"_s.arg(download.status);
    if (download.error.isEmpty())
        return {Finding::Passed, u"reply"_s, status};
    return {Finding::Refused, u"reply"_s, status + u": "_s + download.error};
}

Finding features(const LibraryDownload &download)
{
    const QString header = u"X-BVFeatureList is \"%1\""_s.arg(QString::fromUtf8(download.features));
    try {
        (void)LibraryReply::protocolInfo(download.version, download.features);
    } catch (const std::invalid_argument &) {
        return {Finding::Refused, u"feature list"_s,
                header + u", but only the digits 0 and 1 are allowed"_s};
    }
    return {Finding::Passed, u"feature list"_s, header};
}

Finding version(const LibraryDownload &download)
{
    const QString header =
        u"X-BVProtocolVersion is \"%1\""_s.arg(QString::fromUtf8(download.version));
    // The feature list was accepted before.
    if (LibraryReply::isSupported(LibraryReply::protocolInfo(download.version, {})))
        return {Finding::Passed, u"version"_s, header};
    return {Finding::Refused, u"version"_s, header + u", but a decimal number above 0 is needed"_s};
}

} // namespace

Expected<Server> LibraryCheck::read(const LibraryDownload &download)
{
    const auto refuse = [&download] {
        const QList<Finding> findings = LibraryCheck::gates(download);
        const auto first = std::ranges::find_if(
            findings, [](const Finding &finding) { return finding.level != Finding::Passed; });
        return Expected<Server>::failure(first->text);
    };
    if (!download.error.isEmpty())
        return refuse();
    Server server;
    try {
        server.protocolInfo = LibraryReply::protocolInfo(download.version, download.features);
    } catch (const std::invalid_argument &) {
        return refuse();
    }
    if (!LibraryReply::isSupported(server.protocolInfo) ||
        !server.fromJson(jsonObjectFromBody(download.body)))
        return refuse();
    // A record without an id would count as no server.
    server.uuid = QUuid::createUuid();
    return server;
}

QList<Finding> LibraryCheck::gates(const LibraryDownload &download)
{
    QList<Finding> findings;
    for (const auto &gate : {reachable, transfer, features, version}) {
        findings.append(gate(download));
        if (findings.constLast().level != Finding::Passed)
            return findings;
    }
    return findings + LibraryRules::findings(download.body);
}
