// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSocketNotifier>

/// Console commands: lines on standard input, SIGTERM and SIGINT. Lives on the main thread. At the
/// end of standard input the server continues without a console.
class Console : public QObject
{
    Q_OBJECT

public:
    /// Blocks the signals in this thread and in all threads that it starts later, so construct it
    /// before any other thread is started.
    explicit Console(QObject *parent = nullptr);
    ~Console() override;

signals:
    /// One line, trimmed; not emitted for empty lines.
    void command(const QString &line);
    void terminated();

private:
    void readInput();

    QSocketNotifier input;
    int signalHandle;
    QSocketNotifier signalNotifier;
    QByteArray unfinished;
};
