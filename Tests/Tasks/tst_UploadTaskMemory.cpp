// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/ApplicationModel.h"
#include "Service/ServerConnectionService.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ProgressDialogs.h"
#include "Support/Wait.h"
#include "Tasks/UploadTask.h"

#include <QFile>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qint64 mebibyte = 1 << 20;

/// A server that does not answer and only counts the bytes. It reads a mebibyte in ten
/// milliseconds, since Qt reports the progress every tenth of a second.
class Sink final : public QObject
{
public:
    explicit Sink(const QString &ip)
    {
        connect(&listener, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *const socket = listener.nextPendingConnection()) {
                ++open;
                socket->setReadBufferSize(mebibyte);
                auto *const pace = new QTimer(socket);
                connect(pace, &QTimer::timeout, this,
                        [this, socket] { received += socket->readAll().size(); });
                pace->start(10ms);
                connect(socket, &QTcpSocket::disconnected, this, [this] { --open; });
            }
        });
        isListening = listener.listen(QHostAddress(ip), 4567);
    }

    bool isListening = false;
    qint64 received = 0;
    int open = 0;

private:
    QTcpServer listener;
};

/// The resident size of this process, in bytes.
qint64 residentSize()
{
    QFile file(u"/proc/self/statm"_s);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() * 4096
                                          : 0;
}

} // namespace

/// The upload of a large file that is cancelled at half.
class tst_UploadTaskMemory : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void largeFileUsesLittleMemoryAndStopsAtCancel()
    {
        constexpr qint64 size = 128 * mebibyte;
        const QTemporaryDir directory;
        QFile large(directory.filePath(u"large.mov"_s));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(size));

        Sink sink(loopback(1));
        QVERIFY(sink.isListening);
        ApplicationModel model;
        ServerConnectionService service;
        const QUuid uuid = QUuid::createUuid();
        service.addHandler(QHostAddress(loopback(1)), uuid);
        UploadTask task(&model, nullptr, &service, uuid, 3, 17, large.fileName());
        const QSignalSpy finished(&task, &TaskBase::taskFinished);

        const qint64 before = residentSize();
        QVERIFY(before > 0);
        qint64 most = before;
        connect(&service, &ServerConnectionService::uploadedFileProgress, this,
                [&](auto, int percent) {
                    most = std::max(most, residentSize());
                    if (percent >= 50 && finished.isEmpty())
                        pressCancel(*qobject_cast<QDialog *>(QApplication::activeModalWidget()));
                });
        task.start();
        EVENTUALLY_COMPARE(finished.size(), 1);
        QVERIFY(!task.hasErrors());
        EVENTUALLY_COMPARE(sink.open, 1);
        QVERIFY(sink.received > size / 4);
        QVERIFY(sink.received < size * 3 / 4);
#ifndef __SANITIZE_ADDRESS__
        QVERIFY2(most - before < 32 * mebibyte, qPrintable(QString::number(most - before)));
#endif
    }
};

QTEST_MAIN(tst_UploadTaskMemory)
#include "tst_UploadTaskMemory.moc"
