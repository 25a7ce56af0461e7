// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerFixture.h"
#include "Service/ServerInfoFixture.h"
#include "Support/ApplicationProxy.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QTemporaryFile>

#include <algorithm>

using namespace LibraryWire;

namespace {

const QString address = loopback(1);
const QString proxyAddress = loopback(9);
const QByteArray cookie = "Set-Cookie: id=7; Path=/\r\n";

/// Whether no request to the server had a cookie.
bool noCookieCame(const WireServer &server)
{
    const QList<WireRequest> requests = server.requests();
    return std::ranges::all_of(
        requests, [](const WireRequest &request) { return request.header("Cookie").isNull(); });
}

} // namespace

/// Libraries, the stream, commands and uploads are requested directly from the server, and never
/// with its cookies.
class tst_DirectRequests : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void libraryRequestDoesNotUseTheProxy()
    {
        const Sandbox sandbox;
        ServerInfoService service;
        LogCapture log;
        const ApplicationProxy proxy(proxyAddress);
        service.requestLibrary(Server(QUuid::createUuid(), ApplicationProxy::thisMachine(), 8, {}));
        QVERIFY(waitFor([&] {
            return proxy.wasUsed() || !log.texts().filter(u"Failed to download"_s).isEmpty();
        }));
        QVERIFY(!proxy.wasUsed());
    }

    void handlerDoesNotUseTheProxy()
    {
        const ApplicationProxy proxy(proxyAddress);
        ServerConnectionHandler handler(ApplicationProxy::thisMachine(), QUuid::createUuid());
        const HandlerEvents events(handler);
        QVERIFY(waitFor([&] { return proxy.wasUsed() || !events.lines.isEmpty(); }));
        QVERIFY(!proxy.wasUsed());
    }

    void libraryRequestSendsNoCookies()
    {
        ServerInfoFixture fixture(address);
        fixture.peer.answer(libraryPath, emptyLibrary, versionHeader + cookie);
        for (int count = 1; count <= 2; ++count) {
            fixture.service.requestLibrary(fixture.server());
            EVENTUALLY_COMPARE(fixture.spy.size(), count);
        }
        QCOMPARE(fixture.peer.requests().size(), 2);
        QVERIFY(noCookieCame(fixture.peer));
    }

    void handlerSendsNoCookies()
    {
        HandlerFixture fixture(address);
        fixture.server.on(notifierPath, [](const WireRequest &request) {
            request.send(Wire::chunkedHead(cookie));
        });
        fixture.server.answer(executePath, successBody, cookie);
        fixture.server.answer(uploadPath, successBody, cookie);
        QVERIFY(fixture.open());
        fixture.sendFrame(json("{'msg_type':6}"));
        EVENTUALLY_COMPARE(fixture.events.lines.contains(u"library changed"_s),
                           true); // the cookie has arrived
        QTemporaryFile file;
        QVERIFY(file.open());
        for (int round = 1; round <= 2; ++round) {
            fixture.events.lines.clear();
            fixture.handler.requestMove(3, 7, 12);
            EVENTUALLY_COMPARE(fixture.events.lines, QStringList{u"moved"_s});
            fixture.handler.requestUpload(3, 17, file.fileName());
            EVENTUALLY_COMPARE(fixture.events.lines.contains(u"uploaded"_s), true);
        }
        QCOMPARE(fixture.server.requests().size(), 5);
        QVERIFY(noCookieCame(fixture.server));
    }
};

QTEST_GUILESS_MAIN(tst_DirectRequests)
#include "tst_DirectRequests.moc"
