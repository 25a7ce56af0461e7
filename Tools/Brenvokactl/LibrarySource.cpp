// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibrarySource.h"

#include "Brenvokactl/Counted.h"
#include "Brenvokactl/LibraryCheck.h"
#include "Brenvokactl/LibraryDownload.h"
#include "Brenvokactl/Snapshot.h"
#include "Brenvokactl/Terminal.h"

#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

Expected<LibrarySource> withReason(const QString &argument, const QString &reason)
{
    return Expected<LibrarySource>::failure(argument + u": "_s + reason);
}

Expected<LibrarySource> fromAddress(const QString &argument, const QHostAddress &address,
                                    std::chrono::milliseconds timeout)
{
    const Terminal::Progress progress(u"Downloading the library of %1"_s.arg(argument));
    const Expected<Server> server = LibraryCheck::read(LibraryDownload::get(address, timeout));
    if (!server)
        return withReason(argument, server.error);
    return LibrarySource{argument, argument, {}, *server};
}

Expected<LibrarySource> fromFile(const QString &argument)
{
    const Expected<Snapshot> snapshot = Snapshot::read(argument);
    if (!snapshot)
        return withReason(argument, snapshot.error);
    const Expected<Server> server = LibraryCheck::read(snapshot->download());
    if (!server)
        return withReason(argument, server.error);
    return LibrarySource{argument, snapshot->address, snapshot->time, *server};
}

} // namespace

QHostAddress ipv4Address(const QString &text)
{
    const QHostAddress address(text);
    const bool isIPv4 = address.protocol() == QAbstractSocket::IPv4Protocol;
    // Qt reads 010 as an octal number, and accepts fewer than four numbers.
    return isIPv4 && address.toString() == text ? address : QHostAddress();
}

Expected<LibrarySource> LibrarySource::get(const QString &argument,
                                           std::chrono::milliseconds timeout)
{
    const QHostAddress address = ipv4Address(argument);
    return address.isNull() ? fromFile(argument) : fromAddress(argument, address, timeout);
}

QString LibrarySource::summary() const
{
    QString text = u"%1: %2, %3"_s.arg(source, counted(server.folders.size(), "folder"_L1),
                                       counted(visualCount(), "visual"_L1));
    if (time.isValid())
        text += u", saved from %1 at %2"_s.arg(address, time.toString(Qt::ISODate));
    return text;
}

QJsonObject LibrarySource::toJson() const
{
    return {{u"source"_s, source},
            {u"address"_s, address},
            {u"time"_s, time.isValid() ? QJsonValue(time.toString(Qt::ISODate)) : QJsonValue()},
            {u"hash"_s, server.hash},
            {u"folders"_s, server.folders.size()},
            {u"visuals"_s, visualCount()}};
}

qsizetype LibrarySource::visualCount() const
{
    qsizetype count = 0;
    for (const MediaFolder &folder : server.folders)
        count += folder.files.size();
    return count;
}
