// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTesting.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QTranslator>

#include <functional>
#include <memory>

namespace {

const QString address = loopback(1);
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

/// The only way to a reply without an error text: QIODevice has one of its own for the case.
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

/// The five commands: their bytes and what comes of their answers.
class tst_HandlerCommands : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<HandlerRig>(address);
        QVERIFY(rig->open());
    }

    void cleanup() { rig.reset(); }

    void bytesOfTheWire_data()
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

    void bytesOfTheWire()
    {
        QFETCH(const std::function<void(ServerConnectionHandler &)>, order);
        order(rig->handler);
        QVERIFY(rig->waitForCommands(1));
        const WireRequest request = rig->commands().constFirst();
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
        QCOMPARE(rig->probe.pendingRequests(), 1);
    }

    void syncOfNothingSendsNothing()
    {
        rig->handler.requestSync(source, {});
        QCOMPARE(rig->probe.pendingRequests(), 0);
        rig->handler.cancelSyncs();
        QVERIFY(rig->waitForCommands(1));
        QCOMPARE(rig->commandBodies(), QByteArrayList{wireBody(u"cancel-syncs.http"_s)});
        QCOMPARE(rig->events.lines, QStringList());
    }

    void repliesOfSyncAndCancelAreDropped()
    {
        rig->server.answer(executePath, json("{'msg_type':7,'RESULT':3,'ERROR':'no'}"));
        rig->handler.requestSync(source, {{3, 17}, {3, 18}});
        rig->handler.cancelSyncs();
        QCOMPARE(rig->probe.pendingRequests(), 3);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->events.lines, (QStringList{u"progress 3 17 0 0"_s, u"progress 3 18 0 0"_s}));
    }

    void networkFailureOfSyncAndCancelIsDropped()
    {
        rig->server.on(executePath, [](const WireRequest &request) { request.reset(); });
        rig->handler.requestSync(source, {{3, 17}});
        rig->handler.cancelSyncs();
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->events.lines, QStringList{u"progress 3 17 0 0"_s});
    }

    void cancelMarksWhatIsQueuedOrTransferring()
    {
        constexpr auto queued = "00000000-9dc0-11d1-b245-5ffdce74fad2";
        constexpr auto transferring = "11111111-9dc0-11d1-b245-5ffdce74fad2";
        constexpr auto importing = "22222222-9dc0-11d1-b245-5ffdce74fad2";
        int slot = 0;
        for (const char *id : {queued, transferring, importing})
            rig->sendFrame(started(id, ++slot));
        rig->sendFrame(transfer(transferring, Brenvoka::SyncTransferring, 2));
        rig->sendFrame(transfer(importing, Brenvoka::SyncImporting, 3));
        EVENTUALLY_COMPARE(rig->events.lines.size(), 6);
        rig->events.lines.clear();

        rig->handler.cancelSyncs();
        rig->events.lines.sort();
        QCOMPARE(rig->events.lines, (QStringList{u"progress 3 1 0 4"_s, u"progress 3 2 20 4"_s}));
        const auto transfers = rig->probe.activeTransfers();
        QCOMPARE(transfers.value(QUuid(QLatin1StringView(queued))).state, 4);
        QCOMPARE(transfers.value(QUuid(QLatin1StringView(importing))).state, 2);
        QVERIFY(rig->waitForCommands(1));

        rig->handler.cancelSyncs();
        QCOMPARE(rig->events.lines.size(), 2);
        QCOMPARE(rig->probe.pendingRequests(), 2);
    }

    void answers_data()
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
    void answers()
    {
        QFETCH(const QByteArray, body);
        QFETCH(const QString, message);
        rig->server.answer(executePath, body);
        rig->handler.requestRemove({{3, 17}});
        expect(message.isNull() ? u"removed 3 17"_s : u"remove error 3 17 \""_s + message);
        rig->handler.requestMove(3, 7, 12);
        expect(message.isNull() ? u"moved"_s : u"move error \""_s + message);
        rig->handler.requestRename({{3, u"a"_s}});
        expect(message.isNull() ? u"renamed 3"_s : u"rename error 3 \""_s + message);
        QCOMPARE(rig->probe.pendingRequests(), 0);
        QVERIFY(rig->probe.nothingInFlight());
    }

    void statusOfTheAnswerIsNotLookedAt()
    {
        rig->server.answer(executePath, successBody, {}, "299 Odd");
        rig->handler.requestRemove({{3, 17}});
        expect(u"removed 3 17"_s);
    }

    void redirectIsNotFollowed()
    {
        rig->server.answer(executePath, successBody,
                           "Location: http://" LOOPBACK(1) ":4567/other\r\n", "302 Found");
        rig->handler.requestRemove({{3, 17}});
        expect(u"removed 3 17"_s);
        QCOMPARE(rig->server.requests("/other").size(), 0);
    }

    void refusalsAreLogged()
    {
        LogCapture log;
        rig->server.answer(executePath, json("{'msg_type':7,'RESULT':1}"));
        rig->handler.requestRemove({{3, 17}});
        expect(u"remove error 3 17 \"Visual is in use\""_s);
        rig->handler.requestRename({{3, u"a"_s}});
        expect(u"rename error 3 \"Visual is in use\""_s);
        rig->handler.requestMove(3, 7, 12);
        expect(u"move error \"Visual is in use\""_s);
        QCOMPARE(log.entries(), (QStringList{u"error: Element remove failed on server " LOOPBACK(
                                                 1) " folder 3 file 17 "
                                                    "reason: Visual is in use"_s,
                                             u"error: Folder rename failed on server " LOOPBACK(
                                                 1) " folder 3 "
                                                    "reason: Visual is in use"_s}));
    }

    void networkFailureFeedsTheNext()
    {
        LogCapture log;
        rig->server.answer(executePath, successBody, {}, "404 Nothing");
        rig->handler.requestRemove({{3, 17}, {3, 18}});
        rig->handler.requestRename({{3, u"a"_s}, {4, u"b"_s}});
        EVENTUALLY_COMPARE(rig->events.lines.size(), 4);
        rig->handler.requestMove(3, 7, 12);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 5);

        const QString text =
            u"Error transferring http://" LOOPBACK(1) ":4567/brenvoka/execute.html - "
                                                      "server replied: Nothing"_s;
        QCOMPARE(rig->events.lines.filter(u"remove"_s),
                 (QStringList{u"remove error 3 17 \"%1\""_s.arg(text),
                              u"remove error 3 18 \"%1\""_s.arg(text)}));
        QCOMPARE(rig->events.lines.filter(u"rename"_s),
                 (QStringList{u"rename error 3 \"%1\""_s.arg(text),
                              u"rename error 4 \"%1\""_s.arg(text)}));
        QCOMPARE(rig->events.lines.last(), u"move error \"%1\""_s.arg(text));
        QCOMPARE(rig->probe.pendingRequests(), 0);
        QVERIFY(rig->probe.nothingInFlight());

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

    void errorWithoutATextIsInternal()
    {
        LogCapture log;
        SilentTranslator translator;
        QCoreApplication::installTranslator(&translator);
        rig->probe.removeInFlight() = {new FailedReply, 3, 17, 1000};
        rig->probe.renameInFlight() = {new FailedReply, 4, u"a"_s, 1001};
        QMetaObject::invokeMethod(&rig->handler, "connectionTerminated",
                                  Q_ARG(QNetworkReply *, rig->probe.removeInFlight().reply));
        QMetaObject::invokeMethod(&rig->handler, "connectionTerminated",
                                  Q_ARG(QNetworkReply *, rig->probe.renameInFlight().reply));
        QCoreApplication::removeTranslator(&translator);
        const QString removal = u"Internal error. Element removal failed on server"_s;
        const QString rename = u"Internal error. Folder rename failed on server"_s;
        QCOMPARE(rig->events.lines, (QStringList{u"remove error 3 17 \"%1\""_s.arg(removal),
                                                 u"rename error 4 \"%1\""_s.arg(rename)}));
        QCOMPARE(log.entries(), (QStringList{u"error: "_s + removal, u"error: "_s + rename}));
        QVERIFY(rig->probe.nothingInFlight());
    }

private:
    static QByteArray wireBody(const QString &name)
    {
        const QByteArray request = wireFile(name);
        return request.mid(request.indexOf("\r\n\r\n") + 4);
    }

    /// Waits for the one signal that a command causes.
    void expect(const QString &line)
    {
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{line});
        rig->events.lines.clear();
    }

    std::unique_ptr<HandlerRig> rig;
};

QTEST_GUILESS_MAIN(tst_HandlerCommands)
#include "tst_HandlerCommands.moc"
