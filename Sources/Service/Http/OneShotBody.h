// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QIODevice>

/// A request body that can be read only once. It cannot be rewound, so Qt cannot repeat the request
/// when a kept-alive connection breaks: the server may have executed a removal although its answer
/// was lost, and must not execute it again.
///
/// The request needs an explicit Content-Length and
/// QNetworkRequest::DoNotBufferUploadDataAttribute. Without them Qt makes a copy that can be
/// rewound.
class OneShotBody final : public QIODevice
{
    Q_OBJECT

public:
    /// Open for reading from the start.
    explicit OneShotBody(const QByteArray &bytes, QObject *parent = nullptr);

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override;
    /// Always false, without the warning of QIODevice for a sequential device.
    bool seek(qint64) override { return false; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray body;
    qsizetype position = 0;
};
