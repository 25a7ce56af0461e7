// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/ServerRequest.h"

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// What Qt must not add to a request.
class tst_ServerRequest : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void credentialsAreNeverSent_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::newRow("NTLM") << QByteArray("NTLM");
        QTest::newRow("Negotiate") << QByteArray("Negotiate");
        QTest::newRow("Basic") << QByteArray("Basic realm=\"x\"");
        QTest::newRow("Digest") << QByteArray("Digest realm=\"x\", nonce=\"y\", qop=\"auth\"");
        QTest::newRow("any") << QByteArray("Negotiate\r\nWWW-Authenticate: NTLM\r\n"
                                           "WWW-Authenticate: Basic realm=\"x\"");
    }
    /// More requests than connections, so that later ones use a connection that was refused.
    void credentialsAreNeverSent()
    {
        QFETCH(QByteArray, method);
        constexpr int count = 20;
        WireServer server(loopback(1));
        server.answer("/", {}, "WWW-Authenticate: " + method + "\r\n", "401 Unauthorized");
        QNetworkAccessManager manager;
        manager.setProxy(QNetworkProxy::NoProxy);
        int refused = 0;
        connect(&manager, &QNetworkAccessManager::finished, this, [&](const QNetworkReply *reply) {
            if (reply->error() == QNetworkReply::AuthenticationRequiredError)
                ++refused;
        });
        for (int i = 0; i < count; ++i)
            manager.get(serverRequest(QUrl(u"http://" LOOPBACK(1) ":4567/"_s)));
        EVENTUALLY_COMPARE(refused, count);
        QCOMPARE(server.requests().size(), count);
        for (const WireRequest &request : server.requests())
            QVERIFY(request.header("Authorization").isNull());
    }
};

QTEST_GUILESS_MAIN(tst_ServerRequest)
#include "tst_ServerRequest.moc"
