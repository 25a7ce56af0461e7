// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"
#include "SyncClickFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int answered = 5;

/// Four folders, the last with thirty visuals.
QList<MediaFolder> thirtyVisuals()
{
    QList<MediaFolder> folders = OperationFixture::library();
    folders.last().files.clear();
    for (int slot = 1; slot <= 30; ++slot)
        folders.last().files.append(cachedVisual(slot, u"Sunset"_s, slot));
    return folders;
}

/// Answers the first five removals and leaves the next one open.
void answerFive(ScriptedServer &server)
{
    server.onCommand([&server](const WireRequest &request) {
        if (server.commands(ScriptedServer::Remove).size() <= answered)
            request.answer(ScriptedServer::success);
    });
}

[[nodiscard]] bool waitForTheSixth(const ScriptedServer &server)
{
    return waitFor([&server] { return server.commands(ScriptedServer::Remove).size() > answered; });
}

/// Answers the open removal and all later ones, and waits long enough for the program to send one
/// more: until it has closed the connection of the answer and then downloaded another server's
/// library five times.
[[nodiscard]] bool answerTheRest(ScriptedServer &server, ScriptedServer &other)
{
    server.accept();
    const WireRequest sixth = server.requests().last();
    sixth.answer(ScriptedServer::success, "Connection: close\r\n");
    const qsizetype wanted = other.libraryRequests() + 5;
    // A change is ignored during the download of the library.
    const auto fetched = [&] {
        other.sendLibraryChanged();
        return other.libraryRequests() >= wanted;
    };
    return waitFor([&] { return !sixth.isOpen(); }) && waitFor(fetched);
}

} // namespace

/// Removals that are queued when a server is lost and the message about it is open.
class tst_UIControllerLostRemovals : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void lostServerGetsNoRemovalDuringTheMessage()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, 0, thirtyVisuals()));
        answerFive(fixture.one);
        listOf(fixture.bankA()).selectAll();
        fixture.clickRemove(fixture.bankA());
        QVERIFY(waitForTheSixth(fixture.one));
        ModalDriver modals;
        modals.answer([&](QDialog &message) {
            QVERIFY(answerTheRest(fixture.one, fixture.two));
            message.accept();
        });
        fixture.one.stream.reset();
        EVENTUALLY(!modals.pending());
        QCOMPARE(modals.seen().first().text,
                 u"Server \"One\" disconnected while an operation was in progress."_s);
        QCOMPARE(fixture.one.commands(ScriptedServer::Remove).size(), answered + 1);
    }

    void lostSourceEndsTheRemovalsOfASync()
    {
        ScriptedServer three(loopback(3));
        SyncClickFixture fixture;
        QVERIFY(fixture.open(OperationFixture::library().first(3), thirtyVisuals()));
        QVERIFY(fixture.connectServer(three, u"Three"_s, OperationFixture::library()));
        answerFive(fixture.two);
        fixture.clickLeftToRight();
        QVERIFY(waitForTheSixth(fixture.two));
        ModalDriver modals;
        modals.answer([&](QDialog &message) {
            QVERIFY(answerTheRest(fixture.two, three));
            message.accept();
        });
        fixture.one.stream.reset();
        EVENTUALLY(!modals.pending());
        QCOMPARE(modals.seen().first().text,
                 u"Server \"One\" disconnected while an operation was in progress."_s);
        QCOMPARE(fixture.two.commands(ScriptedServer::Remove).size(), answered + 1);
    }
};

QTEST_MAIN(tst_UIControllerLostRemovals)
#include "tst_UIControllerLostRemovals.moc"
