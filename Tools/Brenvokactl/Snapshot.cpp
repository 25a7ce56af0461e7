// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Snapshot.h"

#include "Protocol/LibraryReply.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView firstLine = "Brenvoka snapshot 1\n";
constexpr qint64 longestHead = qint64{64} * 1024;

QByteArray checksum(const QByteArray &body)
{
    return QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
}

QByteArray line(const QByteArray &key, const QByteArray &value)
{
    return key + ": " + value + '\n';
}

/// The lines "key: value" of a head.
QHash<QByteArray, QByteArray> fieldsOf(const QByteArray &head)
{
    QHash<QByteArray, QByteArray> fields;
    for (const QByteArray &text : head.split('\n')) {
        if (const qsizetype colon = text.indexOf(": "); colon > 0)
            fields.insert(text.first(colon), text.mid(colon + 2));
    }
    return fields;
}

} // namespace

QByteArray Snapshot::toBytes() const
{
    return firstLine.toByteArray() + line("address", address.toUtf8()) +
           line("time", time.toString(Qt::ISODate).toUtf8()) +
           line("X-BVProtocolVersion", version) + line("X-BVFeatureList", features) +
           line("length", QByteArray::number(body.size())) + line("sha256", checksum(body)) + '\n' +
           body;
}

Expected<Snapshot> Snapshot::fromBytes(const QByteArray &bytes)
{
    if (!bytes.startsWith(firstLine))
        return Expected<Snapshot>::failure(u"it is no snapshot"_s);
    const qsizetype end = bytes.indexOf("\n\n");
    if (end < 0)
        return Expected<Snapshot>::failure(u"the snapshot is cut off"_s);
    const QHash<QByteArray, QByteArray> fields = fieldsOf(bytes.first(end));
    Snapshot snapshot{QString::fromUtf8(fields.value("address")),
                      QDateTime::fromString(QString::fromUtf8(fields.value("time")), Qt::ISODate),
                      fields.value("X-BVProtocolVersion"), fields.value("X-BVFeatureList"),
                      bytes.mid(end + 2)};
    if (snapshot.body.size() != fields.value("length").toLongLong())
        return Expected<Snapshot>::failure(u"the snapshot is cut off"_s);
    if (checksum(snapshot.body) != fields.value("sha256"))
        return Expected<Snapshot>::failure(u"the snapshot was changed: its checksum is wrong"_s);
    return snapshot;
}

bool Snapshot::isSnapshot(const QString &path)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) &&
           file.read(firstLine.size()) == firstLine;
}

Expected<Snapshot> Snapshot::read(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return Expected<Snapshot>::failure(u"there is no such file, and it is no IPv4 address"_s);
    if (!info.isFile()) // opening a pipe could wait without end
        return Expected<Snapshot>::failure(u"it is no regular file"_s);
    if (info.size() > LibraryReply::maximumSize + longestHead)
        return Expected<Snapshot>::failure(u"it is too large for a snapshot"_s);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Expected<Snapshot>::failure(file.errorString());
    return fromBytes(file.readAll());
}

QString Snapshot::write(const QString &path) const
{
    if (QFileInfo::exists(path) && !isSnapshot(path))
        return u"it exists and is no snapshot, so it is not replaced"_s;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(toBytes()) < 0 || !file.commit())
        return file.errorString();
    return {};
}

LibraryDownload Snapshot::download() const
{
    LibraryDownload result;
    result.status = 200;
    result.version = version;
    result.features = features;
    result.body = body;
    return result;
}
