// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/ServerRequest.h"

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QNetworkAccessManager>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSignalSpy>

#include <memory>

using namespace Qt::Literals::StringLiterals;

/// What Qt does with a request of the program, and what it does not do.
class tst_RequestAttributes : public QObject
{
    Q_OBJECT

private slots:
    /// Otherwise Qt offers HTTP/2 on encrypted connections only, and ignores the attribute.
    void initTestCase() { qputenv("QT_NETWORK_H2C_ALLOWED", "1"); }

    void init()
    {
        failOnAnyWarning();
        peer = std::make_unique<WireServer>(loopback(1));
        manager = std::make_unique<QNetworkAccessManager>();
        manager->setProxy(QNetworkProxy::NoProxy);
    }
    void cleanup()
    {
        manager.reset();
        peer.reset();
    }

    void cookiesAreNotStored()
    {
        peer->answer("/", "x", "Set-Cookie: id=7\r\n");
        QCOMPARE(get(), "x");
        QCOMPARE(manager->cookieJar()->cookiesForUrl(url), QList<QNetworkCookie>());
    }

    void cookiesAreNotSent()
    {
        peer->answer("/", "x");
        QVERIFY(manager->cookieJar()->setCookiesFromUrl({QNetworkCookie("id", "7")}, url));
        QCOMPARE(get(), "x");
        QVERIFY(peer->requests().constFirst().header("Cookie").isNull());
    }

    void redirectIsNotFollowed()
    {
        peer->answer("/", "x", "Location: /elsewhere\r\n", "302 Found");
        QCOMPARE(get(), "x");
        QCOMPARE(peer->requests().size(), 1);
    }

    void http2IsNotOffered()
    {
        peer->answer("/", "x");
        QCOMPARE(get(), "x");
        for (const char *absent : {"Upgrade", "HTTP2-Settings"})
            QVERIFY2(peer->requests().constFirst().header(absent).isNull(), absent);
    }

private:
    /// The body of the answer.
    [[nodiscard]] QByteArray get()
    {
        const std::unique_ptr<QNetworkReply> reply(manager->get(serverRequest(url)));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        return finished.wait(patience) ? reply->readAll() : QByteArray();
    }

    const QUrl url{u"http://" LOOPBACK(1) ":4567/a"_s};
    std::unique_ptr<WireServer> peer;
    std::unique_ptr<QNetworkAccessManager> manager;
};

QTEST_GUILESS_MAIN(tst_RequestAttributes)
#include "tst_RequestAttributes.moc"
