// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Server.h"

#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QHostAddress first(u"10.0.0.1"_s);
const QHostAddress second(u"10.0.0.2"_s);
const QHostAddress third(u"10.0.0.3"_s);

Server serverAt(const QList<ServerConnection> &connections)
{
    Server server;
    server.connections = connections;
    return server;
}

MediaFolder folderOf(const QStringList &hashes)
{
    MediaFolder folder;
    for (const QString &hash : hashes)
        folder.files.append({hash, u""_s, int(folder.files.size())});
    return folder;
}

} // namespace

Q_DECLARE_METATYPE(QList<ServerConnection>)

class tst_Server final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void defaults()
    {
        const Server server;
        QVERIFY(server.uuid.isNull());
        QVERIFY(server.name.isNull());
        QVERIFY(server.hash.isNull());
        QVERIFY(server.folders.isEmpty());
        QVERIFY(server.connections.isEmpty());
        QCOMPARE(server.activeConnection, 0);
        QCOMPARE(server.graphFps, 0.0F);
        QCOMPARE(server.totalFps, 0.0F);
        QCOMPARE(server.monitorFps, 0.0F);
        QVERIFY(!server.isFullScreen && !server.hasFpsStats && !server.connected);
        QCOMPARE(server.protocolInfo.protocolVersion, 281474976710656ULL);
        QCOMPARE(server.protocolInfo.featureList.to_ulong(), 1UL);

        const MediaFolder folder;
        QVERIFY(folder.name.isNull() && folder.files.isEmpty());
        QCOMPARE(folder.slot, 0);
        const Visual visual;
        QVERIFY(visual.name.isNull() && visual.hash.isNull());
        QCOMPARE(visual.slot, 0);
        const SubnetMatch match;
        QVERIFY(!match.found && match.addresses.first.isNull() && match.addresses.second.isNull());
    }

    void constructedFromAnAnnouncement()
    {
        const QUuid uuid = QUuid::createUuid();
        const Server server(uuid, first, 24, u"Stage"_s);
        QCOMPARE(server.uuid, uuid);
        QCOMPARE(server.name, u"Stage"_s);
        QCOMPARE(server.connections, QList<ServerConnection>({{first, 24}}));
        QCOMPARE(server.currentAddress(), first);
        QVERIFY(!server.connected);
        QVERIFY(server.folders.isEmpty());
    }

    void invalidServerIsASingleInstance()
    {
        QVERIFY(Server::invalid().uuid.isNull());
        QCOMPARE(&Server::invalid(), &Server::invalid());
    }

    void folderOutsideTheLibraryIsDefault()
    {
        Server server;
        server.folders = {folderOf({u"a"_s})};
        server.folders[0].slot = 7;
        QCOMPARE(server.folderAt(0).slot, 7);
        for (const int index : {-1, 1, 1000}) {
            QCOMPARE(server.folderAt(index).slot, 0);
            QVERIFY(server.folderAt(index).files.isEmpty());
            QVERIFY(server.folderAt(index).name.isNull());
        }
    }

    void folderIsACopy()
    {
        Server server;
        server.folders = {folderOf({u"a"_s})};
        MediaFolder folder = server.folderAt(0);
        folder.files.clear();
        QCOMPARE(server.folders[0].files.size(), 1);
    }

    void findsSlots()
    {
        MediaFolder folder = folderOf({u"a"_s, u"b"_s, u"c"_s});
        folder.files[0].slot = 200;
        folder.files[1].slot = 3;
        folder.files[2].slot = 3;
        QCOMPARE(folder.indexOfSlot(200), 0);
        QCOMPARE(folder.indexOfSlot(3), 1);
        QCOMPARE(folder.indexOfSlot(0), -1);
        QCOMPARE(MediaFolder().indexOfSlot(0), -1);
    }

    void findsHashesInAnyFolder()
    {
        Server server;
        server.folders = {folderOf({}), folderOf({u"b"_s, u"d"_s, u"d"_s}), folderOf({u"a"_s})};
        for (const QString &hash : {u"a"_s, u"b"_s, u"d"_s})
            QVERIFY(server.containsHash(hash));
        for (const QString &hash : {u""_s, u"A"_s, u"c"_s, u"e"_s, u"bb"_s})
            QVERIFY(!server.containsHash(hash));
    }

    void addedConnectionsAreAppendedAndMayRepeat()
    {
        Server server;
        server.addConnection(first, 24);
        server.addConnection(first, 24);
        server.addConnection(second, 24);
        QCOMPARE(server.connections,
                 QList<ServerConnection>({{first, 24}, {first, 24}, {second, 24}}));
    }

    void removesTheFirstWithAddressAndNetmask()
    {
        Server server = serverAt({{first, 16}, {first, 24}, {second, 24}, {first, 24}});
        server.removeConnection(first, 24);
        QCOMPARE(server.connections,
                 QList<ServerConnection>({{first, 16}, {second, 24}, {first, 24}}));
    }

    void wrongNetmaskRemovesNothing()
    {
        Server server = serverAt({{first, 24}});
        server.removeConnection(first, 23);
        server.removeConnection(second, 24);
        QCOMPARE(server.connections, QList<ServerConnection>({{first, 24}}));
    }

    void removalKeepsTheActiveNumber()
    {
        Server server = serverAt({{first, 24}, {second, 24}, {third, 24}});
        server.setActiveConnection(second);
        server.removeConnection(first, 24);
        QCOMPARE(server.activeConnection, 1);
        QCOMPARE(server.currentAddress(), third);
    }

    void activeNumberPastTheEndGivesANullAddress()
    {
        Server server = serverAt({{first, 24}, {second, 24}});
        server.setActiveConnection(second);
        server.removeConnection(second, 24);
        QCOMPARE(server.activeConnection, 1);
        QVERIFY(server.currentAddress().isNull());
        QVERIFY(Server().currentAddress().isNull());
    }

    void unknownAddressDoesNotBecomeActive()
    {
        Server server = serverAt({{first, 24}, {second, 24}});
        server.setActiveConnection(second);
        server.setActiveConnection(third);
        QCOMPARE(server.activeConnection, 1);
        QVERIFY(server.hasAddress(second));
        QVERIFY(!server.hasAddress(third));
    }

    void firstConnectionWithAnAddressBecomesActive()
    {
        Server server = serverAt({{first, 24}, {second, 16}, {second, 24}});
        server.setActiveConnection(second);
        QCOMPARE(server.activeConnection, 1);
    }

    void commonSubnets_data()
    {
        QTest::addColumn<QList<ServerConnection>>("mine");
        QTest::addColumn<QList<ServerConnection>>("theirs");
        QTest::addColumn<QString>("pair");
        using Connections = QList<ServerConnection>;
        const auto at = [](const QString &address, int netmask) {
            return ServerConnection(QHostAddress(address), netmask);
        };

        QTest::newRow("one subnet") << Connections{at(u"10.0.0.1"_s, 24)}
                                    << Connections{at(u"10.0.0.2"_s, 24)} << u"10.0.0.1 10.0.0.2"_s;
        QTest::newRow("two subnets") << Connections{at(u"10.0.0.1"_s, 24)}
                                     << Connections{at(u"10.0.1.2"_s, 24)} << QString();
        QTest::newRow("one direction only")
            << Connections{at(u"10.0.0.1"_s, 8)} << Connections{at(u"10.0.1.2"_s, 24)} << QString();
        QTest::newRow("opposite direction only")
            << Connections{at(u"10.0.0.1"_s, 24)} << Connections{at(u"10.0.1.2"_s, 8)} << QString();
        QTest::newRow("different masks, both directions")
            << Connections{at(u"10.0.0.1"_s, 24)} << Connections{at(u"10.0.0.2"_s, 8)}
            << u"10.0.0.1 10.0.0.2"_s;
        QTest::newRow("own order first")
            << Connections{at(u"172.16.0.1"_s, 16), at(u"10.0.0.1"_s, 24)}
            << Connections{at(u"10.0.0.2"_s, 24), at(u"172.16.0.2"_s, 16)}
            << u"172.16.0.1 172.16.0.2"_s;
        QTest::newRow("then the order of the other")
            << Connections{at(u"10.0.0.1"_s, 24)}
            << Connections{at(u"10.0.0.9"_s, 24), at(u"10.0.0.2"_s, 24)} << u"10.0.0.1 10.0.0.9"_s;
        QTest::newRow("same address")
            << Connections{at(u"10.0.0.1"_s, 32)} << Connections{at(u"10.0.0.1"_s, 32)}
            << u"10.0.0.1 10.0.0.1"_s;
        QTest::newRow("no connections")
            << Connections() << Connections{at(u"10.0.0.2"_s, 24)} << QString();
        QTest::newRow("none on the other server")
            << Connections{at(u"10.0.0.1"_s, 24)} << Connections() << QString();
    }
    void commonSubnets()
    {
        QFETCH(const QList<ServerConnection>, mine);
        QFETCH(const QList<ServerConnection>, theirs);
        QFETCH(const QString, pair);
        const SubnetMatch match = serverAt(mine).findCommonSubnet(serverAt(theirs));
        const auto [own, other] = match.addresses;
        QCOMPARE(match.found, !pair.isEmpty());
        QCOMPARE(u"%1 %2"_s.arg(own.toString(), other.toString()).trimmed(), pair);
        QCOMPARE(own.isNull(), pair.isEmpty());
        QCOMPARE(other.isNull(), pair.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_Server)
#include "tst_Server.moc"
