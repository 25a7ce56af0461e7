// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryDownload.h"

#include "Brenvokactl/StreamCheck.h"
#include "Service/ServerConnectionHandler.h"
#include "Service/ServerInfoService.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Sandbox.h"
#include "Support/WireServer.h"

#include <QDateTime>
#include <QLocale>
#include <QTest>

#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray path = "/brenvoka/library.json";
const QByteArray stream = "/brenvoka/notifier.html";
constexpr std::chrono::seconds enough{30};
constexpr std::chrono::milliseconds brief{200};
constexpr std::chrono::seconds streamTime{1};

} // namespace

/// Downloads of `check`, `compare`, `plan` and `save`.
class tst_LibraryDownload final : public QObject
{
    Q_OBJECT

private slots:
    // The local time is twelve hours ahead of that in the headers.
    void initTestCase()
    {
        qputenv("TZ", "UTC-12");
        ::tzset();
    }
    void init() { failOnAnyWarning(); }

    void requestIsThatOfTheWindow()
    {
        const Sandbox sandbox;
        WireServer peer(loopback(1));
        peer.answer(path, "{}");
        ServerInfoService window;
        window.requestLibrary(Server(QUuid::createUuid(), peer.address(), 8, u"name"_s));
        QVERIFY(peer.waitForRequests(1));
        (void)LibraryDownload::get(peer.address(), enough);
        QCOMPARE(peer.requests().size(), 2);
        QCOMPARE(peer.requests().at(1).bytes(), peer.requests().at(0).bytes());
    }

    void streamRequestIsThatOfTheWindow()
    {
        WireServer peer(loopback(2));
        peer.on(stream, [](const WireRequest &request) {
            request.send(Wire::streamHead());
            request.send(Wire::frame("{\"msg_type\":6}") + Wire::frame("{\"msg_type\":0}"));
        });
        const ServerConnectionHandler window(peer.address(), QUuid::createUuid());
        QVERIFY(peer.waitForRequests(1));
        const Finding finding = StreamCheck::run(peer.address(), brief);
        QCOMPARE(peer.requests().size(), 2);
        QCOMPARE(peer.requests().at(1).bytes(), peer.requests().at(0).bytes());
        QCOMPARE(finding.level, Finding::Passed);
        QVERIFY(finding.text.contains(u"2 messages"_s));
    }

    void replyHasHeadersAndBody()
    {
        WireServer peer(loopback(3));
        peer.answer(path, "{\"a\":1}", "X-BVProtocolVersion: 7\r\nX-BVFeatureList: 01\r\n");
        const LibraryDownload download = LibraryDownload::get(peer.address(), enough);
        QCOMPARE(download.error, QString());
        QCOMPARE(download.status, 200);
        QCOMPARE(download.version, "7"_ba);
        QCOMPARE(download.features, "01"_ba);
        QCOMPARE(download.body, "{\"a\":1}"_ba);
        QVERIFY(!download.staysFresh);
    }

    void freshnessIsReadFromTheHeaders_data()
    {
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<bool>("fresh");
        QTest::newRow("age") << "Cache-Control: max-age=60\r\n"_ba << true;
        QTest::newRow("capitals") << "Cache-Control: Max-Age=60\r\n"_ba << true;
        QTest::newRow("age first") << "Cache-Control: max-age=60, public\r\n"_ba << true;
        QTest::newRow("age 0") << "Cache-Control: max-age=0\r\n"_ba << false;
        QTest::newRow("no-cache") << "Cache-Control: no-cache, max-age=60\r\n"_ba << false;
        QTest::newRow("no-store") << "Cache-Control: max-age=60, no-store\r\n"_ba << false;
        QTest::newRow("expires") << "Expires: Fri, 01 Jan 2100 00:00:00 GMT\r\n"_ba << true;
        const QDateTime soon = QDateTime::currentDateTimeUtc().addSecs(3600);
        QTest::newRow("expires soon")
            << "Expires: "_ba +
                   QLocale::c().toString(soon, u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s).toLatin1() +
                   "\r\n"
            << true;
        QTest::newRow("expired") << "Expires: Thu, 01 Jan 1970 00:00:00 GMT\r\n"_ba << false;
        QTest::newRow("none") << ""_ba << false;
    }
    void freshnessIsReadFromTheHeaders()
    {
        QFETCH(const QByteArray, headers);
        WireServer peer(loopback(4));
        peer.answer(path, "{}", headers);
        QTEST(LibraryDownload::get(peer.address(), enough).staysFresh, "fresh");
    }

    void httpErrorKeepsItsStatus()
    {
        WireServer peer(loopback(5));
        peer.answer(path, "gone", {}, "404 Not Found");
        const LibraryDownload download = LibraryDownload::get(peer.address(), enough);
        QCOMPARE(download.status, 404);
        QVERIFY(!download.error.isEmpty());
    }

    void refusedConnectionHasNoStatus()
    {
        const LibraryDownload download = LibraryDownload::get(QHostAddress(loopback(6)), enough);
        QCOMPARE(download.status, 0);
        QVERIFY(!download.error.isEmpty());
    }

    void silentServerIsGivenUp()
    {
        WireServer peer(loopback(7));
        const LibraryDownload download = LibraryDownload::get(peer.address(), brief);
        QVERIFY2(download.error.contains(u"no complete answer"_s), qPrintable(download.error));
    }

    void endlessBodyIsGivenUp()
    {
        WireServer peer(loopback(8));
        peer.on(path, [](const WireRequest &request) {
            request.send(Wire::streamHead());
            request.sendWithoutEnd(QByteArray(1000, 'x'));
        });
        QVERIFY(!LibraryDownload::get(peer.address(), brief).error.isEmpty());
    }

    void halfALibraryIsAnError()
    {
        WireServer peer(loopback(9));
        peer.on(path, [](const WireRequest &request) {
            request.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"folders\"");
            request.close();
        });
        const LibraryDownload download = LibraryDownload::get(peer.address(), enough);
        QVERIFY(!download.error.isEmpty());
        QVERIFY(download.body.isEmpty());
    }

    void messagesOfAllChunksAreCounted()
    {
        WireServer peer(loopback(11));
        peer.on(stream, [](const WireRequest &request) {
            request.send(Wire::streamHead());
            for (int message = 0; message < 20; ++message)
                request.send(Wire::frame("{\"a\":\"" + QByteArray(50'000, 'x') + "\"}"));
        });
        const Finding finding = StreamCheck::run(peer.address(), streamTime);
        QVERIFY2(finding.text.contains(u"20 messages"_s), qPrintable(finding.text));
    }

    void halfAMessageIsNotSilence()
    {
        WireServer peer(loopback(12));
        peer.on(stream, [](const WireRequest &request) { request.send(Wire::streamHead() + "{"); });
        const Finding finding = StreamCheck::run(peer.address(), streamTime);
        QCOMPARE(finding.level, Finding::Passed);
        QVERIFY2(finding.text.endsWith(u", 0 messages"_s), qPrintable(finding.text));
    }

    void streamThatEndsIsRefused()
    {
        WireServer peer(loopback(10));
        peer.on(stream, [](const WireRequest &request) {
            request.send(Wire::streamHead());
            request.close();
        });
        QCOMPARE(StreamCheck::run(peer.address(), enough).level, Finding::Refused);
        peer.answer(stream, "busy", {}, "503 Busy");
        const Finding busy = StreamCheck::run(peer.address(), enough);
        QCOMPARE(busy.level, Finding::Refused);
        peer.on(stream, [](const WireRequest &request) { request.send(Wire::streamHead()); });
        QCOMPARE(StreamCheck::run(peer.address(), brief).level, Finding::Advice);
    }
};

QTEST_GUILESS_MAIN(tst_LibraryDownload)
#include "tst_LibraryDownload.moc"
