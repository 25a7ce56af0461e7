// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTest.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QTemporaryDir>

#include <algorithm>

/// The upload of one file.
class tst_HandlerUpload : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void requestMatchesTheWireFile()
    {
        fixture->handler.requestUpload(3, 17, file(u"sunset.png"_s, "FILE BYTES"));
        QVERIFY(waitForUploads(1));
        const WireRequest request = uploads().constFirst();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.target, uploadPath);
        const QByteArray boundary = boundaryOf(request);
        QVERIFY(!boundary.isEmpty());
        QCOMPARE(request.body,
                 wireFile(u"upload-folder-3-slot-17.multipart"_s).replace("BOUNDARY", boundary));
        QCOMPARE(fixture->probe.pendingRequests(), 0);
    }

    void emptyFileIsUploaded()
    {
        fixture->server.answer(uploadPath, successBody);
        fixture->handler.requestUpload(3, 17, file(u"sunset.png"_s, {}));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        QCOMPARE(uploads().constFirst().body,
                 wireFile(u"upload-folder-3-slot-17.multipart"_s)
                     .replace("BOUNDARY", boundaryOf(uploads().constFirst()))
                     .replace("FILE BYTES", ""));
    }

    void fileNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("onTheWire");
        QTest::newRow("quotation marks") << u"a\"b\".png"_s << "a%22b%22.png"_ba;
        QTest::newRow("line breaks") << u"a\r\nb"_s << "a%0D%0Ab"_ba;
        QTest::newRow("beyond Latin 1") << u"Bühne 舞台.png"_s << u"Bühne 舞台.png"_s.toUtf8();
        QTest::newRow("255 bytes")
            << u"ü"_s.repeated(125) + u"x.png"_s << QByteArray("ü").repeated(125) + "x.png";
        QTest::newRow("other control characters") << u"a\tb\x01"_s << "a\tb\x01"_ba;
        QTest::newRow("percent, backslash and semicolon") << u"50%22\\;x"_s << "50%22\\;x"_ba;
    }
    void fileNames()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, onTheWire);
        fixture->handler.requestUpload(3, 17, file(name, "x"));
        QVERIFY(waitForUploads(1));
        QVERIFY2(uploads().constFirst().body.contains(
                     "\r\nContent-Disposition: form-data; name=\"visualFile\"; filename=\"" +
                     onTheWire + "\"\r\n"),
                 uploads().constFirst().body.constData());
    }

    void resultsAreReported_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("line");
        QTest::newRow("done") << successBody << u"uploaded"_s;
        QTest::newRow("refused") << json("{'msg_type':7,'RESULT':4}")
                                 << u"upload error \"Media library folder is in use\""_s;
        QTest::newRow("no text") << json("{'msg_type':7,'RESULT':3}") << u"upload error \"\""_s;
        QTest::newRow("no result") << "<html>"_ba << u"upload error \"Invalid response data\""_s;
    }
    void resultsAreReported()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const QString, line);
        fixture->server.answer(uploadPath, body);
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{line});
        QCOMPARE(fixture->events.lines.last(), line);
        QCOMPARE(fixture->probe.uploadReply(), nullptr);
        QCOMPARE(fixture->probe.pendingRequests(), 0);
    }

    void refusalIsLogged()
    {
        LogCapture log;
        fixture->server.answer(uploadPath,
                               json("{'msg_type':7,'RESULT':3,'ERROR':'Disk is full'}"));
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"upload error \"Disk is full\""_s});
        QCOMPARE(log.entries(), QStringList{u"error: Upload failed on server " LOOPBACK(
                                    1) " reason: Disk is full"_s});
    }

    void networkFailure()
    {
        LogCapture log;
        fixture->server.answer(uploadPath, successBody, {}, "404 Nothing");
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(
            withoutProgress(),
            QStringList{
                u"upload error \"Error transferring "
                "http://" LOOPBACK(1) ":4567/brenvoka/upload.html - server replied: Nothing\""_s});
        QCOMPARE(log.entries(), QStringList{u"error: File upload error: 203"_s});
        QCOMPARE(fixture->probe.uploadReply(), nullptr);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), -1);
    }

    void answerWithoutEndIsAborted()
    {
        fixture->server.on(uploadPath, [](const WireRequest &request) {
            request.send("HTTP/1.1 200 OK\r\n\r\n");
            request.sendWithoutEnd(QByteArray(65536, 'x'));
        });
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(withoutProgress(),
                           QStringList{u"upload error \"Operation canceled\""_s});
    }

    // If a kept-alive connection breaks, Qt sends the request again.
    void repeatedUploadIsSentFromItsStart()
    {
        fixture->server.on(uploadPath, [this](const WireRequest &request) {
            if (uploads().size() == 2)
                request.close();
            else
                request.answer(successBody);
        });
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        fixture->handler.requestUpload(3, 18, file(u"b.png"_s, QByteArray(1 << 18, 'y')));
        EVENTUALLY_COMPARE(withoutProgress(), (QStringList{u"uploaded"_s, u"uploaded"_s}));
        QCOMPARE(uploads().size(), 3);
        QCOMPARE(uploads().at(1).connection, uploads().at(0).connection);
        QVERIFY(uploads().at(2).bytes() == uploads().at(1).bytes());
    }

    void unopenableFileIsSilent()
    {
        fixture->handler.requestUpload(3, 17, directory.filePath(u"missing"_s));
        fixture->handler.requestUpload(3, 17, directory.path());
        QCOMPARE(fixture->probe.uploadReply(), nullptr);
        fixture->handler.requestUpload(3, 18, file(u"a.png"_s, "x"));
        QVERIFY(waitForUploads(1));
        QCOMPARE(uploads().size(), 1);
        QVERIFY(uploads().constFirst().body.contains("\r\n18\r\n"));
        QCOMPARE(withoutProgress(), QStringList());
    }

    void secondUploadIsDropped()
    {
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        QVERIFY(waitForUploads(1));
        fixture->handler.requestUpload(3, 18, file(u"b.png"_s, "y"));
        uploads().constFirst().answer(successBody);
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        QCOMPARE(uploads().size(), 1);
        fixture->handler.requestUpload(3, 18, file(u"b.png"_s, "y"));
        QVERIFY(waitForUploads(2));
    }

    void cancelIsSilent()
    {
        LogCapture log;
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        QVERIFY(waitForUploads(1));
        fixture->handler.cancelUpload();
        fixture->handler.cancelUpload();
        QCOMPARE(fixture->probe.uploadReply(), nullptr);
        QCOMPARE(fixture->probe.pendingRequests(), -1);
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        QCOMPARE(withoutProgress(), QStringList());
        QCOMPARE(log.texts().filter(u"upload error"_s), QStringList());

        fixture->server.answer(uploadPath, successBody);
        fixture->handler.requestUpload(3, 18, file(u"b.png"_s, "y"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
    }

    void cancelInsideProgress()
    {
        connect(&fixture->handler, &ServerConnectionHandler::uploadedFileProgress,
                &fixture->handler, [this] { fixture->handler.cancelUpload(); });
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        QCOMPARE(withoutProgress(), QStringList());
    }

    void stopCancelsTheUpload()
    {
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        QVERIFY(waitForUploads(1));
        fixture->handler.stop();
        QCOMPARE(fixture->probe.uploadReply(), nullptr);
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 0);
        QCOMPARE(withoutProgress(), QStringList());
    }

    void destructionEndsTheUpload()
    {
        auto *handler = new ServerConnectionHandler(fixture->server.address(), QUuid::createUuid());
        const HandlerEvents events(*handler);
        handler->requestUpload(3, 17, file(u"a.png"_s, QByteArray(1 << 20, 'x')));
        QVERIFY(waitForUploads(1));
        delete handler;
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        QCOMPARE(events.lines.filter(u"uploaded"_s) + events.lines.filter(u"error"_s),
                 QStringList());
    }

    void progressInPercent_data()
    {
        QTest::addColumn<qlonglong>("sent");
        QTest::addColumn<qlonglong>("total");
        QTest::addColumn<QStringList>("lines");
        const auto row = [](qlonglong sent, qlonglong total, const QStringList &lines) {
            QTest::addRow("%lld of %lld", sent, total) << sent << total << lines;
        };
        row(0, 100, {});
        row(100, 0, {});
        row(0, 0, {});
        row(50, -1, {});
        row(1, 3, {u"upload progress 33"_s});
        row(100, 100, {u"upload progress 100"_s});
        row(1, 1000, {u"upload progress 0"_s});
        row(999, 1000, {u"upload progress 99"_s});
        // The quotient is a float: 0.29 is a little less there.
        row(29, 100, {u"upload progress 28"_s});
        row(5'000'000'000, 10'000'000'000, {u"upload progress 50"_s});
    }
    void progressInPercent()
    {
        QFETCH(const qlonglong, sent);
        QFETCH(const qlonglong, total);
        QVERIFY(QMetaObject::invokeMethod(&fixture->handler, "uploadProgress",
                                          Q_ARG(qlonglong, sent), Q_ARG(qlonglong, total)));
        QTEST(fixture->events.lines, "lines");
    }

    void progressReaches100()
    {
        fixture->server.answer(uploadPath, successBody);
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, QByteArray(1 << 20, 'x')));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        QVERIFY(fixture->events.lines.contains(u"upload progress 100"_s));
    }

    void uploadDoesNotWaitForCommands()
    {
        QList<VisualRef> visuals;
        for (int slot = 1; slot <= 20; ++slot)
            visuals.append({1, slot});
        fixture->handler.requestSync(fixture->server.address(), visuals);
        QVERIFY(fixture->waitForCommands(4));
        fixture->events.lines.clear();
        fixture->server.answer(uploadPath, successBody);
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        QCOMPARE(fixture->commands().size(), 4);
    }

    void cancelAtOnceSendsNothing()
    {
        fixture->handler.requestUpload(3, 17, file(u"a.png"_s, "x"));
        fixture->handler.cancelUpload();
        fixture->server.answer(uploadPath, successBody);
        fixture->handler.requestUpload(3, 18, file(u"b.png"_s, "y"));
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        QCOMPARE(uploads().size(), 1);
    }

    // Another program may still write the file, such as one that renders it.
    void growingFileIsSentWithItsFirstLength()
    {
        const QByteArray content(16 << 20, 'x');
        QFile growing(file(u"growing.mov"_s, content));
        QVERIFY(startUpload(growing.fileName()));
        QVERIFY(growing.open(QIODevice::Append));
        QCOMPARE(growing.write(QByteArray(1 << 20, 'y')), 1 << 20);
        growing.close();
        fixture->server.answer(uploadPath, successBody);
        fixture->server.setReading(true);
        EVENTUALLY_COMPARE(withoutProgress(), QStringList{u"uploaded"_s});
        const WireRequest request = uploads().constFirst();
        QVERIFY(request.body.endsWith("\r\n\r\n" + content + "\r\n--" + boundaryOf(request) +
                                      "--\r\n"));
    }

    void shrinkingFileIsAnError()
    {
        QFile shrinking(file(u"shrinking.mov"_s, {}));
        QVERIFY(shrinking.resize(16 << 20));
        QVERIFY(startUpload(shrinking.fileName()));
        QVERIFY(shrinking.resize(1));
        fixture->server.setReading(true);
        EVENTUALLY_COMPARE(withoutProgress().size(), 1);
        const QString line = withoutProgress().constFirst();
        QVERIFY2(line.startsWith(u"upload error \""_s), qPrintable(line));
        QVERIFY2(line != u"upload error \"\""_s, "the operator reads why");
        QCOMPARE(uploads().size(), 0);
    }

    // Bytes that are read but not received are in the buffers of the system.
    void fileIsReadWhileItIsSent()
    {
        constexpr qint64 mebibyte = 1 << 20;
        QFile large(file(u"large.mov"_s, {}));
        QVERIFY(large.resize(256 * mebibyte));
        fixture->handler.requestUpload(3, 17, large.fileName());
        const auto *open = fixture->probe.uploadReply()->findChild<QFile *>();
        qint64 ahead = 0;
        QVERIFY(waitFor([&] {
            constexpr int upload = 1; // the stream is the first connection
            const qint64 received = fixture->server.received(upload).size();
            ahead = std::max(ahead, open->pos() - received);
            return received >= 32 * mebibyte;
        }));
        QCOMPARE_LT(ahead, 64 * mebibyte);
    }

private:
    QString file(const QString &name, const QByteArray &content)
    {
        QFile local(directory.filePath(name));
        if (!local.open(QIODevice::WriteOnly) || local.write(content) != content.size())
            qFatal("Cannot write %s", qPrintable(local.fileName()));
        return local.fileName();
    }

    /// Starts an upload to a server that reads nothing, and waits until the file is read.
    [[nodiscard]] bool startUpload(const QString &path)
    {
        fixture->server.setReading(false);
        fixture->handler.requestUpload(3, 17, path);
        const auto *open = fixture->probe.uploadReply()->findChild<QFile *>();
        return open && waitFor([&] { return open->pos() > 0; });
    }

    [[nodiscard]] QList<WireRequest> uploads() const
    {
        return fixture->server.requests(uploadPath);
    }
    [[nodiscard]] bool waitForUploads(int count) const
    {
        return waitFor([&] { return uploads().size() >= count; });
    }
    [[nodiscard]] QStringList withoutProgress() const
    {
        QStringList lines = fixture->events.lines;
        lines.removeIf([](const QString &line) { return line.startsWith(u"upload progress"_s); });
        return lines;
    }

    static QByteArray boundaryOf(const WireRequest &request)
    {
        const QByteArray type = request.header("Content-Type");
        const QByteArray prefix = "multipart/form-data; boundary=\"";
        return type.startsWith(prefix) ? type.mid(prefix.size()).chopped(1) : QByteArray();
    }

    QTemporaryDir directory;
};

QTEST_GUILESS_MAIN(tst_HandlerUpload)
#include "tst_HandlerUpload.moc"
