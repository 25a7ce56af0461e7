// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSocketNotifier>

/// Orders at run time: lines on standard input, and the signals that end a process. Lives on the
/// main thread. The end of standard input is no order: the server goes on without a console.
class Console : public QObject
{
    Q_OBJECT

public:
    /// Blocks the signals in this thread and all that are started from it later, so it must be
    /// made before any other thread is.
    explicit Console(QObject *parent = nullptr);
    ~Console() override;

signals:
    /// One line without its line end and surrounding blanks; empty lines are left out.
    void command(const QString &line);
    void terminated();

private:
    void readInput();

    QSocketNotifier input;
    int signalHandle;
    QSocketNotifier signalNotifier;
    QByteArray unfinished;
};
