// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QQueue>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

/// The commands of one server, in the order of their requests: most of them wait here, and a few
/// are on the wire.
///
/// A synchronisation may ask for 65,280 commands at once. QNetworkAccessManager would take them
/// all, at a quadratic cost in time and over a gigabyte of memory, so it gets the next one only
/// when an earlier one was answered.
///
/// Four are on the wire at most. The manager opens six connections to a server; the notification
/// stream holds one of them for as long as it lives and an upload another, so that neither an
/// upload nor a command ever has to wait for a connection.
///
/// Parallel connections may deliver in any order. That does no harm among commands that do not
/// touch each other, but a cancel of all transfers must not reach the server before a transfer
/// that it is meant for, nor after one that was asked for later. Such a command is sent `Alone`:
/// when all commands before it have been answered, and nothing follows before its own answer. A
/// server that never answers one of them therefore never hears of the cancel either.
///
/// Starts nothing by itself: the owner calls `sendNext` after `append` and after `ended`.
class CommandQueue final
{
public:
    /// What may happen to a command between here and the server.
    enum class Delivery {
        Repeatable, ///< Qt may send it again on a new connection
        Once,       ///< if the connection breaks, it ends with an error instead of a second sending
        Alone,      ///< repeatable, and no other command is on the wire with it
    };

    /// A command that has just been sent. The manager owns the reply.
    struct Sent
    {
        quint64 number = 0; ///< 0 when nothing could be sent
        QNetworkReply *reply = nullptr;
    };

    static constexpr qsizetype limit = 4;

    /// All commands are posted to `target`.
    explicit CommandQueue(const QUrl &target);

    /// Puts a command at the tail and gives it a number above 0 that is never used again.
    quint64 append(const QByteArray &body, Delivery delivery);
    /// Sends the command at the head, unless it has to wait or there is none.
    Sent sendNext(QNetworkAccessManager &manager);
    /// Tells that a reply has ended, which makes room for another. Foreign replies are ignored.
    void ended(QNetworkReply *reply);
    /// Drops what waits and returns how many that were. What is on the wire stays.
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
