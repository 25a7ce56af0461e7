// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "SyncClickFixture.h"

#include "Dialogs/BVProgressDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// The commands of the phases, in the order of the phases.
constexpr ScriptedServer::CommandType phases[]{ScriptedServer::Rename, ScriptedServer::Remove,
                                               ScriptedServer::Sync};

/// A synchronisation from One to Two that has something to do in each phase, and more than is sent
/// at once.
class PhaseFixture final : public SyncClickFixture
{
public:
    /// Starts it and waits until the destination has received a command of that phase, which it
    /// does not answer.
    [[nodiscard]] bool startUntil(ScriptedServer::CommandType phase)
    {
        const bool isOpen =
            open({folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)}), folder(1, u"b"_s)},
                 {folder(0, u"c"_s, {cachedVisual(2, u"y"_s, 2), cachedVisual(3, u"z"_s, 3)}),
                  folder(1, u"d"_s)});
        two.onCommand([phase](const WireRequest &request) {
            if (!request.body.startsWith("req_type=" + QByteArray::number(phase) + '&'))
                request.answer(ScriptedServer::success);
        });
        clickLeftToRight();
        return isOpen && waitFor([&] { return !two.commands(phase).isEmpty(); });
    }
    /// Whether all dialogs of the task are deleted; that of the thumbnails always exists.
    [[nodiscard]] bool isOver() const
    {
        return !transferDialog() && window->findChildren<BVProgressDialog *>().size() == 1;
    }
};

} // namespace

/// Servers that are lost during a synchronisation, and during the messages at its end.
class tst_UIControllerSyncLosses : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aLossInAnyPhaseEndsTheTaskWithOneMessage_data()
    {
        QTest::addColumn<int>("phase");
        QTest::addColumn<bool>("isSource");
        QTest::addColumn<bool>("isSilent");
        const char *names[]{"renames", "removals", "transfers"};
        for (int phase = 0; phase < 3; ++phase) {
            for (const bool isSource : {false, true}) {
                for (const bool isSilent : {false, true}) {
                    QTest::addRow("%s, the %s %s", names[phase],
                                  isSource ? "source" : "destination",
                                  isSilent ? "stops its announcements" : "ends its stream")
                        << phase << isSource << isSilent;
                }
            }
        }
    }
    void aLossInAnyPhaseEndsTheTaskWithOneMessage()
    {
        QFETCH(const int, phase);
        QFETCH(const bool, isSource);
        QFETCH(const bool, isSilent);
        PhaseFixture fixture;
        QVERIFY(fixture.startUntil(phases[phase]));
        ScriptedServer &lost = isSource ? fixture.one : fixture.two;
        ModalDriver modals;
        modals.answer([&](QDialog &message) {
            // Its stream is closed before the operator answers the message.
            QVERIFY(waitFor([&] { return !lost.stream.isOpen(); }));
            message.accept();
        });
        if (isSilent)
            fixture.controller().removeServer(lost.uuid);
        else
            lost.stream.close();
        EVENTUALLY(!modals.pending() && fixture.isOver());
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().text,
                 u"Server \"%1\" %2 while an operation was in progress."_s.arg(
                     isSource ? u"One"_s : u"Two"_s,
                     isSilent ? u"became unresponsive"_s : u"disconnected"_s));
        // The destination may have changed, if it is still connected.
        if (isSource)
            EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
        else
            QVERIFY(fixture.requestLibrary(fixture.one));
        QCOMPARE(fixture.two.libraryRequests(), isSource ? 2 : 1);
        QCOMPARE(fixture.one.libraryRequests(), isSource ? 1 : 2);
        for (int other = 0; other < 3; ++other)
            QCOMPARE(fixture.two.commands(phases[other]).isEmpty(), other > phase);
    }

    void destinationIsLostWhileTheErrorsAreShown()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        ModalDriver modals;
        modals.answer([&](QDialog &errors) {
            fixture.two.stream.close();
            QVERIFY(waitFor([&] { return !modals.pending(); }));
            errors.accept();
        });
        modals.press(QMessageBox::Ok);
        fixture.two.sendStarted({0, 1});
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncImporting);
        EVENTUALLY_COMPARE(modals.seen().size(), 2);
        QCOMPARE(modals.seen().first().text, u"Folder synchronization completed with errors"_s);
        // Its operation has ended.
        QCOMPARE(modals.seen().last().text, u"Server \"Two\" disconnected."_s);
        EVENTUALLY(!QApplication::activeModalWidget());
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
    }

    void secondServerIsLostWhileTheFirstMessageIsShown()
    {
        PhaseFixture fixture;
        QVERIFY(fixture.startUntil(ScriptedServer::Remove));
        ModalDriver modals;
        modals.answer([&](QDialog &first) {
            fixture.one.stream.close();
            QVERIFY(waitFor([&] { return !modals.pending(); }));
            first.accept();
        });
        modals.press(QMessageBox::Ok);
        fixture.controller().removeServer(fixture.two.uuid);
        QCOMPARE(modals.seen().size(), 2);
        QCOMPARE(modals.seen().first().text,
                 u"Server \"Two\" became unresponsive while an operation was in progress."_s);
        // The task ended during the first message.
        QCOMPARE(modals.seen().last().text, u"Server \"One\" disconnected."_s);
        QVERIFY(fixture.isOver());
        QVERIFY(fixture.model.servers.isEmpty());
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QVERIFY(!fixture.isTransferEnabled());
        QVERIFY(fixture.isSyncWarningShown());
    }
};

QTEST_MAIN(tst_UIControllerSyncLosses)
#include "tst_UIControllerSyncLosses.moc"
