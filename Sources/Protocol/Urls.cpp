// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/Urls.h"

#include <QHostAddress>

using namespace Qt::Literals::StringLiterals;

namespace Protocol {

QString versionText()
{
    return QString::number(clientProtocolVersion);
}

QString versionQuery()
{
    static const QString query = u"ver="_s + versionText();
    return query;
}

QString serverUrl(const QHostAddress &address)
{
    return u"http://%1:%2"_s.arg(address.toString(), QString::number(port));
}

QUrl libraryUrl(const QHostAddress &address)
{
    return QUrl(u"%1/brenvoka/library.json?%2"_s.arg(serverUrl(address), versionQuery()));
}

QString notifierUrlTemplate(const QHostAddress &address)
{
    return serverUrl(address) + u"/brenvoka/notifier.html?%2"_s;
}

QUrl notifierUrl(const QHostAddress &address)
{
    return QUrl(notifierUrlTemplate(address).arg(versionQuery()));
}

QUrl executeUrl(const QHostAddress &address)
{
    return QUrl(serverUrl(address) + u"/brenvoka/execute.html"_s);
}

QUrl uploadUrl(const QHostAddress &address)
{
    return QUrl(serverUrl(address) + u"/brenvoka/upload.html"_s);
}

QUrl thumbnailUrl(const QHostAddress &address, int folderSlot, int fileSlot)
{
    return QUrl(u"%1/brenvoka/thumbnails/%2/%3.png?%4"_s.arg(
        serverUrl(address), QString::number(folderSlot), QString::number(fileSlot),
        versionQuery()));
}

} // namespace Protocol
