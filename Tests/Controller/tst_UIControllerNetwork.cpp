// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "BrowsingFixture.h"

#include "Support/ApplicationProxy.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QNetworkDiskCache>
#include <QNetworkReply>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString serverAddress = loopback(1);
const QByteArray thumbnails = "/brenvoka/thumbnails/";

/// A server whose folders 0 and 1 have a visual each, without cached thumbnails.
Server oneVisualAFolder(const QString &address = serverAddress)
{
    Server server = sampleServer(u"One"_s, address);
    server.folders = {folder(0, u"Intro"_s, {{hashOf(901), u"003: Sunset"_s, 3}}),
                      folder(1, u"Loops"_s, {{hashOf(902), u"003: Harbour"_s, 3}})};
    return server;
}

/// The size of the disk cache of the latest reply that was deleted.
class CacheOfReplies final : public QObject
{
public:
    CacheOfReplies() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject *object, QEvent *event) override
    {
        const auto *reply = qobject_cast<QNetworkReply *>(object);
        if (reply && event->type() == QEvent::DeferredDelete)
            maximumSize =
                qobject_cast<QNetworkDiskCache *>(reply->manager()->cache())->maximumCacheSize();
        return false;
    }

    qint64 maximumSize = 0;
};

} // namespace

/// How the thumbnails of the two banks are downloaded and cached.
class tst_UIControllerNetwork : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QPixmapCache::clear();
    }

    void thumbnailRequestsBypassTheProxy()
    {
        const ApplicationProxy proxy(loopback(9));
        WindowFixture fixture;
        fixture.connectServer(oneVisualAFolder(ApplicationProxy::thisMachine().toString()));
        LogCapture log;
        fixture.controller().folderChanged(0);
        EVENTUALLY(proxy.wasUsed() ||
                   !log.texts().filter(u"Error while getting thumbnail"_s).isEmpty());
        QVERIFY(!proxy.wasUsed());
    }

    void thumbnailRequestsSendNoCookie()
    {
        WireServer server(serverAddress);
        server.answer(thumbnails, "no picture", "Set-Cookie: id=7; Path=/\r\n");
        WindowFixture fixture;
        fixture.connectServer(oneVisualAFolder());
        for (int number = 0; number < 2; ++number) {
            fixture.controller().folderChanged(number);
            EVENTUALLY(fixture.bankA().isEnabled());
        }
        QCOMPARE(server.requests(thumbnails).size(), 2);
        for (const WireRequest &request : server.requests(thumbnails))
            QVERIFY(request.header("Cookie").isNull());
    }

    void thumbnailCacheHas64Mebibytes()
    {
        WireServer server(serverAddress);
        server.answer(thumbnails, "no picture");
        WindowFixture fixture;
        fixture.connectServer(oneVisualAFolder());
        CacheOfReplies cache;
        fixture.controller().folderChanged(0);
        EVENTUALLY_COMPARE(cache.maximumSize, 67108864);
    }
};

QTEST_MAIN(tst_UIControllerNetwork)
#include "tst_UIControllerNetwork.moc"
