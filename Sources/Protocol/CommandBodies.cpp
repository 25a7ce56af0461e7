// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"

#include "Protocol/Urls.h"

#include <QHostAddress>
#include <QUrlQuery>

#include <initializer_list>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray form(int type, std::initializer_list<std::pair<QString, QString>> fields)
{
    QUrlQuery query;
    query.addQueryItem(u"req_type"_s, QString::number(type));
    for (const auto &[key, value] : fields)
        query.addQueryItem(key, value);
    query.addQueryItem(u"ver"_s, Protocol::versionText());
    return query.toString(QUrl::FullyEncoded).toLatin1();
}

} // namespace

namespace CommandBodies {

QByteArray sync(const QHostAddress &source, const VisualRef &visual)
{
    return form(1, {{u"serverURL"_s, Protocol::serverUrl(source)},
                    {u"folderIdx"_s, QString::number(visual.first)},
                    {u"visualIdx"_s, QString::number(visual.second)}});
}

QByteArray remove(const VisualRef &visual)
{
    return form(2, {{u"folderIdx"_s, QString::number(visual.first)},
                    {u"visualIdx"_s, QString::number(visual.second)}});
}

QByteArray move(int folderSlot, int fromSlot, int toSlot)
{
    return form(3, {{u"folderIdx"_s, QString::number(folderSlot)},
                    {u"visualIdx"_s, QString::number(fromSlot)},
                    {u"visualToIdx"_s, QString::number(toSlot)}});
}

QByteArray cancelSyncs()
{
    return form(4, {});
}

QByteArray rename(const FolderRename &rename)
{
    return form(5, {{u"folderIdx"_s, QString::number(rename.folderSlot)},
                    {u"folderName"_s, QString::fromUtf8(rename.name.toUtf8())}});
}

} // namespace CommandBodies
