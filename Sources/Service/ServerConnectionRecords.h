// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QString>
#include <QUuid>

class QNetworkReply;

/// The id of a transfer as a key. A server chooses the ids: Qt's hash of a QUuid is the same for as
/// many as it wants, and each message would then have to search all transfers.
struct TransferId : QUuid
{
    TransferId(const QUuid &uuid) // implicit: it is the same id
        : QUuid(uuid)
    {
    }
};

inline std::size_t qHash(const TransferId &id, std::size_t seed) noexcept
{
    return qHashBits(&id, sizeof id, seed);
}

/// One visual that is being copied to a server, as that server reported it.
struct ActiveTransfer
{
    int state = 0;           ///< "STATUS", a Brenvoka::SyncStates value, unchanged
    int folderSlot = 0;      ///< "FLDIDX", the target folder
    int fileSlot = 0;        ///< "VISIDX", the target slot
    int progressPercent = 0; ///< "CPERCENT"
    int speedBps = 0;        ///< "SPEEDBPS"; required, though nothing reads it
    QString sourceServer;    ///< "SERVER", the URL of the source server
    QString error;           ///< required, though it stays empty
};

/// The removal in flight. It is in flight from its request on, while it may still wait in the
/// handler's queue: `command` is set then, but `reply` is null until it is sent.
struct RemoveRequest
{
    QNetworkReply *reply = nullptr; ///< borrowed
    int folderSlot = -1;
    int fileSlot = -1;
    quint64 command = 0; ///< the number in the CommandQueue; 0 when there is no removal
};

/// The move in flight; see RemoveRequest.
struct MoveRequest
{
    QNetworkReply *reply = nullptr; ///< borrowed
    int folderSlot = -1;
    int fromSlot = -1;
    int toSlot = -1;
    quint64 command = 0; ///< the number in the CommandQueue; 0 when there is no move
};

/// The rename in flight; see RemoveRequest.
struct RenameRequest
{
    QNetworkReply *reply = nullptr; ///< borrowed
    int folderSlot = -1;
    QString name;
    quint64 command = 0; ///< the number in the CommandQueue; 0 when there is no rename
};
