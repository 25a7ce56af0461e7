// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"

#include "Protocol/Urls.h"

#include <QUrlQuery>

#include <initializer_list>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

using Field = std::pair<const char *, QByteArray>;

/// The values are encoded already. Not QUrlQuery: a synchronisation needs 65,280 bodies at once.
QByteArray form(int type, std::initializer_list<Field> fields)
{
    static const QByteArray version = "&ver=" + Protocol::versionText().toLatin1();
    QByteArray body = "req_type=" + QByteArray::number(type);
    for (const auto &[key, value] : fields)
        body.append('&').append(key).append('=').append(value);
    return body.append(version);
}

Field number(const char *key, int value)
{
    return {key, QByteArray::number(value)};
}

QByteArray encoded(const QString &value)
{
    QUrlQuery query;
    query.addQueryItem(u"x"_s, value);
    return query.toString(QUrl::FullyEncoded).toLatin1().mid(2); // a null value has no "="
}

} // namespace

namespace CommandBodies {

QByteArray sync(const QString &sourceUrl, const VisualRef &visual)
{
    return form(1, {{"serverURL", sourceUrl.toLatin1()},
                    number("folderIdx", visual.first),
                    number("visualIdx", visual.second)});
}

QByteArray remove(const VisualRef &visual)
{
    return form(2, {number("folderIdx", visual.first), number("visualIdx", visual.second)});
}

QByteArray move(int folderSlot, int fromSlot, int toSlot)
{
    return form(3, {number("folderIdx", folderSlot), number("visualIdx", fromSlot),
                    number("visualToIdx", toSlot)});
}

QByteArray cancelSyncs()
{
    return form(4, {});
}

QByteArray rename(const FolderRename &rename)
{
    // An unpaired surrogate becomes a question mark: QUrlQuery would encode it as invalid UTF-8.
    const QString name = QString::fromUtf8(rename.name.toUtf8());
    return form(5, {number("folderIdx", rename.folderSlot), {"folderName", encoded(name)}});
}

} // namespace CommandBodies
