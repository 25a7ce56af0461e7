// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/RowDrag.h"
#include "Support/Wait.h"

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 moveWarning = 2;

/// Folder, slot and new slot of each move command of a server.
QStringList moves(const ScriptedServer &server)
{
    QStringList texts;
    for (const Command &command : server.commands(ScriptedServer::Move)) {
        texts.append(u"%1: %2 to %3"_s.arg(command.field("folderIdx"), command.field("visualIdx"),
                                           command.field("visualToIdx")));
    }
    return texts;
}

} // namespace

/// Moving one visual by a drag, on a platform that has real drag and drop.
class tst_UIControllerMove : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aDragAsksWithTheTitleOfTheRemoval()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
        QCOMPARE(modals.seen().first().text,
                 u"Are you sure you want to move the selected visual?\n\n"
                 "Note: The operation can not be canceled or undone."_s);
        QVERIFY(fixture.hasStarted());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(moves(fixture.one), QStringList{u"3: 3 to 1"_s});
        QCOMPARE(fixture.model.warningLevel, allWarnings);
        QVERIFY(fixture.two.requests().isEmpty());
    }

    void decliningTheWarningChangesNothing_data() { addRefusals(); }
    void decliningTheWarningChangesNothing()
    {
        QFETCH(const bool, escape);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        escape ? modals.escape() : modals.press(QMessageBox::No);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
        QVERIFY(fixture.requestLibrary(fixture.one));
        QVERIFY(fixture.one.requests().isEmpty());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
    }

    void dontAskAgainIsSavedAtOnce()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        modals.press(u"Yes, don't ask again"_s);
        const QSignalSpy redrawn(listOf(fixture.bankA()).model(), &QAbstractItemModel::modelReset);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings - moveWarning);
        const QSettings settings(settingsFilePath(), QSettings::IniFormat);
        QCOMPARE(settings.value(u"warningLevel"_s).toUInt(), allWarnings - moveWarning);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        EVENTUALLY(!redrawn.isEmpty());
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.hasStarted());
        QCOMPARE(modals.seen().size(), 1);
    }

    void withoutServersNothingHappens()
    {
        WindowFixture fixture;
        ModalDriver modals;
        fixture.controller().handleMoveVisual(3, 1, ServerDeckA);
        QVERIFY(modals.seen().isEmpty());
        QCOMPARE(fixture.window->findChildren<BVProgressDialog *>().size(), 1);
    }

    void rowsAreDropped_data()
    {
        QTest::addColumn<bool>("listView");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QString>("sent");
        QTest::newRow("an empty slot") << true << 4 << 2 << u"3: 3 to 1"_s;
        QTest::newRow("an empty slot, icons") << false << 4 << 2 << u"3: 3 to 1"_s;
        QTest::newRow("an occupied slot") << true << 4 << 6 << u"3: 3 to 5"_s;
        QTest::newRow("itself") << true << 4 << 4 << u"3: 3 to 3"_s;
        QTest::newRow("Back") << true << 4 << 0 << u"3: 3 to 0"_s;
        QTest::newRow("Back, icons") << false << 4 << 0 << u"3: 3 to 0"_s;
        QTest::newRow("no visual") << true << 4 << 1 << u"3: 3 to 0"_s;
        QTest::newRow("an empty slot is dragged") << true << 3 << 2 << u"3: 2 to 1"_s;
        QTest::newRow("Back is dragged") << true << 0 << 2 << u"3: 0 to 1"_s;
    }
    void rowsAreDropped()
    {
        QFETCH(const bool, listView);
        QFETCH(const int, from);
        QFETCH(const int, to);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.bankA().setListMode(listView);
        QVERIFY(dragRow(listOf(fixture.bankA()), from, listOf(fixture.bankA()), to));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(moves(fixture.one).size(), 1);
        QTEST(moves(fixture.one).first(), "sent");
    }

    void severalRowsAreNotMoved()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        clickRow(fixture.bankA(), 6, Qt::ControlModifier);
        const ModalDriver modals;
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(modals.seen().isEmpty());
        QVERIFY(!fixture.hasStarted());
        QVERIFY(fixture.requestLibrary(fixture.one));
        QVERIFY(fixture.one.requests().isEmpty());
    }

    void commandGoesToTheServerOfItsBank()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        QVERIFY(dragRow(listOf(fixture.bankB()), 4, listOf(fixture.bankB()), 2));
        QVERIFY(fixture.hasDownloadedAgain(fixture.two));
        QCOMPARE(moves(fixture.two), QStringList{u"3: 3 to 1"_s});
        QVERIFY(fixture.one.requests().isEmpty());
    }

    void aNameWithoutANumberMeansSlotZero()
    {
        cacheThumbnail(4);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(
            0, 0,
            {folder(0, u"Intro"_s, {{hashOf(3), u"Sunset 003"_s, 3}, {hashOf(4), u"7: "_s, 4}}),
             folder(1, u"Loops"_s)}));
        const QSignalSpy redrawn(listOf(fixture.bankA()).model(), &QAbstractItemModel::modelReset);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        EVENTUALLY(!redrawn.isEmpty());
        QVERIFY(dragRow(listOf(fixture.bankA()), 2, listOf(fixture.bankA()), 5));
        EVENTUALLY_COMPARE(moves(fixture.one), (QStringList{u"0: 0 to 1"_s, u"0: 1 to 0"_s}));
    }

    // Unlike removal and upload, which send the folder's position in the list as its number.
    void aLibraryWithGapsKeepsTheFoldersNumber()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(2, 0, OperationFixture::sparseLibrary()));
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(moves(fixture.one), QStringList{u"2: 3 to 1"_s});
    }

    void aFailureIsShownOnceAtTheEnd()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.refuse("it is <locked>");
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        EVENTUALLY(!modals.pending());
        QCOMPARE(modals.seen().first().text, u"Visual could not be moved"_s);
        QCOMPARE(modals.seen().first().details,
                 u"Move from 003 to 001 in folder 003 on server \"One\" failed: it is <locked>."_s);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
    }

    void aCancelSendsNothing()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.hold();
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.one.waitForCommands(1));
        QVERIFY(fixture.cancel(u"Moving..."_s));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(fixture.one.requests().size(), 1);
        QVERIFY(fixture.one.requests().first().isOpen());
    }

    void aSecondStartAbandonsTheFirstTask()
    {
        LogCapture log;
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.hold();
        {
            const LeakAllowed first;
            fixture.controller().handleMoveVisual(3, 1, ServerDeckA);
        }
        fixture.controller().handleMoveVisual(5, 2, ServerDeckA);
        QVERIFY(fixture.one.waitForCommands(2));
        for (const WireRequest &request : fixture.one.requests())
            request.answer(ScriptedServer::success);
        EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
        EVENTUALLY_COMPARE(fixture.one.libraryRequests(), 2);
    }

    void serverIsLostWhileTheWarningIsOpen_data() { addLosses(); }
    // A lost server never answers: the operator cancels the task.
    void serverIsLostWhileTheWarningIsOpen()
    {
        QFETCH(const bool, endsItsStream);
        LogCapture log;
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        fixture.loseServerADuring(modals, endsItsStream, pressYes);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(!fixture.isConnected(fixture.one));
        QVERIFY(
            log.texts().contains(u"Handler not found for id: "_s + fixture.one.uuid.toString()));
        QVERIFY(fixture.cancel(u"Moving..."_s));
        EVENTUALLY(!fixture.hasStarted());
        QVERIFY(fixture.requestLibrary(fixture.two));
        QCOMPARE(fixture.one.libraryRequests(), 1);
    }

    void bankIsEmptiedWhileTheWarningIsOpen()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        modals.answer([&](QDialog &warning) {
            fixture.controller().backToFolders();
            fixture.controller().serverNameChanged(fixture.one.uuid, u"Renamed"_s);
            pressYes(warning);
        });
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(moves(fixture.one), QStringList{u"3: 3 to 1"_s});
    }

    void windowIsDeletedWhileTheWarningIsOpen()
    {
        OneServerFixture fixture;
        ModalDriver modals;
        modals.answer([&](QDialog &) { fixture.window.reset(); });
        fixture.controller().handleMoveVisual(3, 1, ServerDeckA);
        QVERIFY(!fixture.window);
    }
};

QTEST_MAIN(tst_UIControllerMove)
#include "tst_UIControllerMove.moc"
