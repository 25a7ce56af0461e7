// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/PortUsers.h"

#include <QDir>
#include <QFile>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The lines of proc_net(5) have the port in hexadecimal after the address, and the inode of the
/// socket in the tenth column.
constexpr qsizetype addressColumn = 1;
constexpr qsizetype inodeColumn = 9;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The sockets with this port, as /proc names them: "socket:[4711]".
QSet<QString> socketsWith(quint16 port)
{
    QSet<QString> sockets;
    const QByteArray ending = ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    for (const QByteArray &line : contentOf(u"/proc/net/udp"_s).split('\n')) {
        const QList<QByteArray> columns = line.simplified().split(' ');
        if (columns.value(addressColumn).endsWith(ending))
            sockets.insert(u"socket:[%1]"_s.arg(QString::fromLatin1(columns.value(inodeColumn))));
    }
    return sockets;
}

/// The number of these sockets that the process has open.
qsizetype openIn(const QString &process, const QSet<QString> &sockets)
{
    const QDir descriptors(u"/proc/%1/fd"_s.arg(process));
    qsizetype count = 0;
    for (const QFileInfo &entry : descriptors.entryInfoList(QDir::AllEntries | QDir::System))
        count +=
            sockets.contains(QFile(entry.filePath()).symLinkTarget().section(u'/', -1)) ? 1 : 0;
    return count;
}

} // namespace

QStringList PortUsers::ofUdp(quint16 port)
{
    QStringList users;
    const QSet<QString> sockets = socketsWith(port);
    if (sockets.isEmpty())
        return users;
    qsizetype found = 0;
    for (const QString &entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        const qsizetype open = entry.at(0).isDigit() ? openIn(entry, sockets) : 0;
        found += open;
        if (open > 0)
            users.append(u"%1 (process %2)"_s.arg(
                QString::fromUtf8(contentOf(u"/proc/%1/comm"_s.arg(entry))).trimmed(), entry));
    }
    if (found < sockets.size())
        users.append(u"another program"_s);
    return users;
}
