// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTest.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QTranslator>

#include <functional>

namespace {

const QHostAddress source(u"127.0.0.2"_s);

QByteArray transfer(const char *id, int state, int fileSlot)
{
    return json(QByteArray("{'msg_type':2,'sync':{'ID':'") + id +
                "','STATUS':" + QByteArray::number(state) +
                ",'CPERCENT':" + QByteArray::number(10 * fileSlot) + "}}");
}

QByteArray started(const char *id, int fileSlot)
{
    return json(QByteArray("{'msg_type':1,'sync':{'ID':'") + id +
                "','FLDIDX':3,'VISIDX':" + QByteArray::number(fileSlot) + "}}");
}

/// A reply that ended with an error without a text.
class FailedReply final : public QNetworkReply
{
public:
    FailedReply()
    {
        setError(QNetworkReply::UnknownNetworkError, QString());
        open(QIODevice::ReadOnly);
    }
    void abort() override {}

protected:
    qint64 readData(char *, qint64) override { return -1; }
};

/// The only way to a reply without an error text: QIODevice has a default text.
class SilentTranslator final : public QTranslator
{
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char *context, const char *, const char *,
                                    int) const override
    {
        return QByteArrayView(context) == "QIODevice" ? u""_s : QString();
    }
};

} // namespace

/// The five commands: their bytes and their results.
class tst_HandlerCommands : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void requestMatchesTheWireFile_data()
    {
        using Order = std::function<void(ServerConnectionHandler &)>;
        QTest::addColumn<Order>("order");
        QTest::newRow("sync-folder-3-slot-17-from-127.0.0.2.http") << Order([](auto &handler) {
            handler.requestSync(source, {{3, 17}});
        });
        QTest::newRow("remove-folder-3-slot-17.http") << Order([](auto &handler) {
            handler.requestRemove({{3, 17}});
        });
        QTest::newRow("move-folder-3-slot-7-to-12.http")
            << Order([](auto &handler) { handler.requestMove(3, 7, 12); });
        QTest::newRow("cancel-syncs.http") << Order([](auto &handler) { handler.cancelSyncs(); });
        QTest::newRow("rename-folder-3-to-Opening_night.http") << Order([](auto &handler) {
            handler.requestRename({{3, u"Opening night"_s}});
        });
    }
    void requestMatchesTheWireFile()
    {
        QFETCH(const std::function<void(ServerConnectionHandler &)>, order);
        order(fixture->handler);
        QVERIFY(fixture->waitForCommands(1));
        const WireRequest request = fixture->commands().constFirst();
        const QByteArray expected = wireFile(QString::fromLatin1(QTest::currentDataTag()));
        QByteArrayList lines = expected.split('\n');
        QCOMPARE(request.head.left(request.head.indexOf('\n')), lines.takeFirst());
        QCOMPARE(request.body, lines.takeLast());
        lines.removeLast();
        QCOMPARE(lines.size(), 2);
        for (const QByteArray &line : lines) {
            const qsizetype colon = line.indexOf(':');
            QCOMPARE(request.header(line.left(colon)), line.mid(colon + 1).trimmed());
        }
        for (const char *absent : {"Transfer-Encoding", "Expect", "Upgrade"})
            QVERIFY2(request.header(absent).isNull(), absent);
        QCOMPARE(fixture->probe.pendingRequests(), 1);
    }

    void emptySyncSendsNothing()
    {
        fixture->handler.requestSync(source, {});
        QCOMPARE(fixture->probe.pendingRequests(), 0);
        fixture->handler.cancelSyncs();
        QVERIFY(fixture->waitForCommands(1));
        QCOMPARE(fixture->commandBodies(), QByteArrayList{wireBody(u"cancel-syncs.http"_s)});
        QCOMPARE(fixture->events.lines, QStringList());
    }

    void repliesToSyncAndCancelAreIgnored()
    {
        fixture->server.answer(executePath, json("{'msg_type':7,'RESULT':3,'ERROR':'no'}"));
        fixture->handler.requestSync(source, {{3, 17}, {3, 18}});
        fixture->handler.cancelSyncs();
        QCOMPARE(fixture->probe.pendingRequests(), 3);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->events.lines,
                 (QStringList{u"progress 3 17 0 0"_s, u"progress 3 18 0 0"_s}));
    }

    void networkFailureOfSyncAndCancelIsIgnored()
    {
        fixture->server.on(executePath, [](const WireRequest &request) { request.reset(); });
        fixture->handler.requestSync(source, {{3, 17}});
        fixture->handler.cancelSyncs();
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->events.lines, QStringList{u"progress 3 17 0 0"_s});
    }

    void cancelMarksQueuedAndTransferringVisuals()
    {
        constexpr auto queued = "00000000-9dc0-11d1-b245-5ffdce74fad2";
        constexpr auto transferring = "11111111-9dc0-11d1-b245-5ffdce74fad2";
        constexpr auto importing = "22222222-9dc0-11d1-b245-5ffdce74fad2";
        int slot = 0;
        for (const char *id : {queued, transferring, importing})
            fixture->sendFrame(started(id, ++slot));
        fixture->sendFrame(transfer(transferring, Brenvoka::SyncTransferring, 2));
        fixture->sendFrame(transfer(importing, Brenvoka::SyncImporting, 3));
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 6);
        fixture->events.lines.clear();

        fixture->handler.cancelSyncs();
        fixture->events.lines.sort();
        QCOMPARE(fixture->events.lines,
                 (QStringList{u"progress 3 1 0 4"_s, u"progress 3 2 20 4"_s}));
        const auto transfers = fixture->probe.activeTransfers();
        QCOMPARE(transfers.value(QUuid(QLatin1StringView(queued))).state, 4);
        QCOMPARE(transfers.value(QUuid(QLatin1StringView(importing))).state, 2);
        QVERIFY(fixture->waitForCommands(1));

        fixture->handler.cancelSyncs();
        QCOMPARE(fixture->events.lines.size(), 2);
        QCOMPARE(fixture->probe.pendingRequests(), 2);
    }

    void resultsAreReported_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        for (const QJsonValue &result :
             QJsonDocument::fromJson(wireFile(u"results.json"_s)).array()) {
            const QByteArray body = result["body"_L1].toString().toUtf8();
            QTest::newRow(body.isEmpty() ? "empty" : body.constData())
                << body
                << (result["success"_L1].toBool() ? QString()
                                                  : result["message"_L1].toString() + u'"');
        }
    }
    // The message is null for a success.
    void resultsAreReported()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const QString, message);
        fixture->server.answer(executePath, body);
        fixture->handler.requestRemove({{3, 17}});
        expect(message.isNull() ? u"removed 3 17"_s : u"remove error 3 17 \""_s + message);
        fixture->handler.requestMove(3, 7, 12);
        expect(message.isNull() ? u"moved"_s : u"move error \""_s + message);
        fixture->handler.requestRename({{3, u"a"_s}});
        expect(message.isNull() ? u"renamed 3"_s : u"rename error 3 \""_s + message);
        QCOMPARE(fixture->probe.pendingRequests(), 0);
        QVERIFY(fixture->probe.nothingInFlight());
    }

    void statusCodeIsIgnored()
    {
        fixture->server.answer(executePath, successBody, {}, "299 Odd");
        fixture->handler.requestRemove({{3, 17}});
        expect(u"removed 3 17"_s);
    }

    void redirectIsNotFollowed()
    {
        fixture->server.answer(executePath, successBody,
                               "Location: http://" LOOPBACK(1) ":4567/other\r\n", "302 Found");
        fixture->handler.requestRemove({{3, 17}});
        expect(u"removed 3 17"_s);
        QCOMPARE(fixture->server.requests("/other").size(), 0);
    }

    void refusalsAreLogged()
    {
        LogCapture log;
        fixture->server.answer(executePath, json("{'msg_type':7,'RESULT':1}"));
        fixture->handler.requestRemove({{3, 17}});
        expect(u"remove error 3 17 \"Visual is in use\""_s);
        fixture->handler.requestRename({{3, u"a"_s}});
        expect(u"rename error 3 \"Visual is in use\""_s);
        fixture->handler.requestMove(3, 7, 12);
        expect(u"move error \"Visual is in use\""_s);
        QCOMPARE(log.entries(), (QStringList{u"error: Element remove failed on server " LOOPBACK(
                                                 1) " folder 3 file 17 "
                                                    "reason: Visual is in use"_s,
                                             u"error: Folder rename failed on server " LOOPBACK(
                                                 1) " folder 3 "
                                                    "reason: Visual is in use"_s}));
    }

    void networkFailureSendsTheNextCommand()
    {
        LogCapture log;
        fixture->server.answer(executePath, successBody, {}, "404 Nothing");
        fixture->handler.requestRemove({{3, 17}, {3, 18}});
        fixture->handler.requestRename({{3, u"a"_s}, {4, u"b"_s}});
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 4);
        fixture->handler.requestMove(3, 7, 12);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 5);

        const QString text =
            u"Error transferring http://" LOOPBACK(1) ":4567/brenvoka/execute.html - "
                                                      "server replied: Nothing"_s;
        QCOMPARE(fixture->events.lines.filter(u"remove"_s),
                 (QStringList{u"remove error 3 17 \"%1\""_s.arg(text),
                              u"remove error 3 18 \"%1\""_s.arg(text)}));
        QCOMPARE(fixture->events.lines.filter(u"rename"_s),
                 (QStringList{u"rename error 3 \"%1\""_s.arg(text),
                              u"rename error 4 \"%1\""_s.arg(text)}));
        QCOMPARE(fixture->events.lines.last(), u"move error \"%1\""_s.arg(text));
        QCOMPARE(fixture->probe.pendingRequests(), 0);
        QVERIFY(fixture->probe.nothingInFlight());

        const QStringList lines = log.entries();
        QCOMPARE(lines.size(), 5);
        QVERIFY(lines.contains(
            u"error: Element remove failed on server " LOOPBACK(1) " folder 3 file 18 reason: "_s +
            text));
        QVERIFY(lines.contains(
            u"error: Folder rename failed on server " LOOPBACK(1) " folder 4 reason: "_s + text));
        QCOMPARE(lines.last(),
                 u"error: Element move failed on server " LOOPBACK(1) " folder 3 from file 7 to "
                                                                      "file 12 reason: "_s +
                     text);
    }

    void answerWithoutEndIsAborted()
    {
        fixture->server.on(executePath, [](const WireRequest &request) {
            request.send("HTTP/1.1 200 OK\r\n\r\n");
            request.sendWithoutEnd(QByteArray(65536, 'x'));
        });
        fixture->handler.requestSync(source, {{3, 17}});
        fixture->handler.requestRemove({{3, 18}});
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(
            fixture->events.lines,
            (QStringList{u"progress 3 17 0 0"_s, u"remove error 3 18 \"Operation canceled\""_s}));
    }

    void errorWithoutTextIsInternal()
    {
        LogCapture log;
        SilentTranslator translator;
        QCoreApplication::installTranslator(&translator);
        fixture->probe.removeInFlight() = {new FailedReply, 3, 17, 1000};
        fixture->probe.renameInFlight() = {new FailedReply, 4, u"a"_s, 1001};
        QMetaObject::invokeMethod(&fixture->handler, "connectionTerminated",
                                  Q_ARG(QNetworkReply *, fixture->probe.removeInFlight().reply));
        QMetaObject::invokeMethod(&fixture->handler, "connectionTerminated",
                                  Q_ARG(QNetworkReply *, fixture->probe.renameInFlight().reply));
        QCoreApplication::removeTranslator(&translator);
        const QString removal = u"Internal error. Element removal failed on server"_s;
        const QString rename = u"Internal error. Folder rename failed on server"_s;
        QCOMPARE(fixture->events.lines, (QStringList{u"remove error 3 17 \"%1\""_s.arg(removal),
                                                     u"rename error 4 \"%1\""_s.arg(rename)}));
        QCOMPARE(log.entries(), (QStringList{u"error: "_s + removal, u"error: "_s + rename}));
        QVERIFY(fixture->probe.nothingInFlight());
    }

private:
    static QByteArray wireBody(const QString &name)
    {
        const QByteArray request = wireFile(name);
        return request.mid(request.indexOf("\r\n\r\n") + 4);
    }

    /// Waits for the only signal that a command causes.
    void expect(const QString &line)
    {
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{line});
        fixture->events.lines.clear();
    }
};

QTEST_GUILESS_MAIN(tst_HandlerCommands)
#include "tst_HandlerCommands.moc"
