// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QIODevice>

/// A request body that can be read once. It has no way back to its beginning, so Qt can't repeat
/// the request by itself when a kept-alive connection breaks under it: a removal that was carried
/// out, and answered into the broken connection, must not be carried out again.
///
/// The request needs an explicit Content-Length and
/// QNetworkRequest::DoNotBufferUploadDataAttribute, without which Qt makes a copy that it can
/// rewind.
class OneShotBody final : public QIODevice
{
    Q_OBJECT

public:
    /// Open for reading from the start.
    explicit OneShotBody(const QByteArray &bytes, QObject *parent = nullptr);

    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override;
    /// Always false, and without the warning that QIODevice writes for a sequential device.
    bool seek(qint64) override { return false; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray body;
    qsizetype position = 0;
};
