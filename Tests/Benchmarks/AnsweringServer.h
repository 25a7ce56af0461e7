// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QProcess>
#include <QStringList>

/// A server in a process of its own, so that its processor time is not measured. It answers each
/// command and upload with success, at once and without storing anything.
class AnsweringServer final
{
public:
    /// `files` are texts "PATH=FILE": requests of a path that begins with PATH are answered with
    /// the content of FILE. The notification stream stays open after it.
    explicit AnsweringServer(const QString &ip, const QList<QByteArray> &files = {})
        : place(ip)
    {
        QStringList arguments{ip};
        for (const QByteArray &file : files)
            arguments.append(QString::fromUtf8(file));
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(BRENVOKA_ANSWERING_SERVER), arguments);
        if (!process.waitForReadyRead() || process.readAll() != "ready\n")
            qFatal("The answering server does not start");
    }
    ~AnsweringServer()
    {
        process.closeWriteChannel(); // the end of its input ends it
        process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(AnsweringServer)

    [[nodiscard]] const QHostAddress &address() const { return place; }

private:
    QHostAddress place;
    QProcess process;
};
