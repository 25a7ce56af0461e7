// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QQueue>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

/// The commands to one server, in the order of their requests. A few are on the wire, the rest
/// wait.
///
/// A synchronisation may request 65,280 commands at once. QNetworkAccessManager would accept them
/// all, in quadratic time and with more than a gigabyte of memory, so it gets the next command only
/// when an earlier one has been answered.
///
/// At most four are on the wire. The manager opens six connections to a server. The notification
/// stream uses one of them for its whole life and an upload uses another, so neither an upload nor
/// a command ever waits for a connection.
///
/// Parallel connections may deliver in any order. That is harmless for commands on different slots.
/// But a cancel of all transfers must reach the server after the transfers that were requested
/// before it, and before those that were requested later. Such a command is sent `Alone`: after all
/// commands before it have been answered, and nothing is sent until it is answered. So a server
/// that never answers a command never gets a later cancel either.
///
/// Sends nothing on its own: the owner calls `sendNext` after `append` and after `ended`.
class CommandQueue final
{
public:
    /// How a command may be sent.
    enum class Delivery {
        Repeatable, ///< Qt may send it again on a new connection
        Once,       ///< if the connection breaks, it ends with an error instead of a second sending
        Alone,      ///< repeatable, and no other command is on the wire with it
    };

    /// A command that was just sent. The manager owns the reply.
    struct Sent
    {
        quint64 number = 0; ///< 0 if nothing was sent
        QNetworkReply *reply = nullptr;
    };

    static constexpr qsizetype limit = 4;

    /// All commands are posted to `target`.
    explicit CommandQueue(const QUrl &target);

    /// Appends a command and returns its number, which is above 0 and never used again.
    quint64 append(const QByteArray &body, Delivery delivery);
    /// Sends the next command, unless it has to wait or there is none.
    Sent sendNext(QNetworkAccessManager &manager);
    /// Call when a reply has finished, so that another command can be sent. Ignores other replies.
    void ended(QNetworkReply *reply);
    /// Drops the commands that wait and returns their number. Commands on the wire continue.
    qsizetype clear();

private:
    struct Waiting
    {
        quint64 number;
        QByteArray body;
        Delivery delivery;
    };

    [[nodiscard]] bool headMayGo() const;

    QUrl url;
    QQueue<Waiting> waiting;
    QList<QNetworkReply *> onTheWire;
    bool aloneOnTheWire = false;
    quint64 lastNumber = 0;
};
