// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 removalWarning = 1;

using Refs = QList<VisualRef>;

} // namespace

/// Removing the selected visuals, from the click to the new library.
class tst_UIControllerRemoval : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void anEmptySelectionAsksAndRemovesNothing()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        OperationFixture::clickRemove(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
        QCOMPARE(modals.seen().first().text,
                 u"Are you sure you want to remove the selected visuals?\n\n"
                 "Note: The operation can not be undone."_s);
        QVERIFY(!fixture.hasStarted());
    }

    void withoutServersNothingIsAsked()
    {
        WindowFixture fixture;
        ModalDriver modals;
        fixture.controller().handleRemoveVisuals(ServerDeckA);
        fixture.controller().handleRemoveVisuals(ServerDeckB);
        QVERIFY(modals.seen().isEmpty());
    }

    void anUnconnectedServerIsEnoughToAsk()
    {
        WindowFixture fixture;
        fixture.model.upsertServer(sampleServer(u"One"_s, loopback(9)));
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        fixture.controller().handleRemoveVisuals(ServerDeckA);
        QCOMPARE(modals.seen().size(), 1);
    }

    void decliningTheWarningChangesNothing_data() { addRefusals(); }
    void decliningTheWarningChangesNothing()
    {
        QFETCH(const bool, escape);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        escape ? modals.escape() : modals.press(QMessageBox::No);
        OperationFixture::clickRemove(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
        QCOMPARE(fixture.bankA().selectedRows(), QList<int>{4});
    }

    void yesRemovesAndKeepsTheWarning()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.hasStarted());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(fixture.one.visuals(ScriptedServer::Remove), (Refs{{3, 3}}));
        QCOMPARE(fixture.two.libraryRequests(), 1);
        QVERIFY(fixture.two.requests().isEmpty());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
    }

    void dontAskAgainIsSavedAtOnce()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        modals.press(u"Yes, don't ask again"_s);
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings - removalWarning);
        const QSettings settings(settingsFilePath(), QSettings::IniFormat);
        QCOMPARE(settings.value(u"warningLevel"_s).toUInt(), allWarnings - removalWarning);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        OperationFixture::clickRemove(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
    }

    void withTheWarningOffNothingIsAsked()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings - removalWarning));
        clickRow(fixture.bankA(), 4);
        const ModalDriver modals;
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(modals.seen().isEmpty());
        QVERIFY(fixture.hasStarted());
    }

    void clickedRowsAreRemoved_data()
    {
        using Click = QPair<int, Qt::KeyboardModifiers>;
        QTest::addColumn<QList<Click>>("clicks");
        QTest::addColumn<Refs>("removed");
        const Qt::KeyboardModifiers none;
        const Qt::KeyboardModifiers shift = Qt::ShiftModifier;
        const Qt::KeyboardModifiers control = Qt::ControlModifier;
        QTest::newRow("a range skips empty slots")
            << QList<Click>{{4, none}, {8, shift}} << Refs{{3, 3}, {3, 5}, {3, 7}};
        QTest::newRow("Back and no visual are never removed")
            << QList<Click>{{0, none}, {5, shift}} << Refs{{3, 3}};
        QTest::newRow("single rows are added")
            << QList<Click>{{4, none}, {8, control}} << Refs{{3, 3}, {3, 7}};
        QTest::newRow("a row is removed from a range")
            << QList<Click>{{4, none}, {8, shift}, {6, control}} << Refs{{3, 3}, {3, 7}};
        QTest::newRow("slot 255 is a slot like any other")
            << QList<Click>{{8, none}, {256, shift}} << Refs{{3, 7}, {3, 255}};
        QTest::newRow("only empty slots") << QList<Click>{{9, none}, {12, shift}} << Refs{};
    }
    void clickedRowsAreRemoved()
    {
        using Click = QPair<int, Qt::KeyboardModifiers>;
        QFETCH(const QList<Click>, clicks);
        QFETCH(const Refs, removed);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        for (const auto &[row, modifiers] : clicks)
            clickRow(fixture.bankA(), row, modifiers);
        OperationFixture::clickRemove(fixture.bankA());
        QCOMPARE(fixture.hasStarted(), !removed.isEmpty());
        if (removed.isEmpty())
            return;
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        Refs sent = fixture.one.visuals(ScriptedServer::Remove);
        std::sort(sent.begin(), sent.end()); // the selection has no order
        QCOMPARE(sent, removed);
    }

    void aSelectedFolderRemovesItsVisuals()
    {
        OperationFixture fixture;
        QVERIFY(fixture.open());
        clickRow(fixture.bankA(), 3);
        clickRow(fixture.bankA(), 2, Qt::ControlModifier);  // empty
        clickRow(fixture.bankA(), 99, Qt::ControlModifier); // absent
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(fixture.one.visuals(ScriptedServer::Remove),
                 (Refs{{3, 3}, {3, 5}, {3, 7}, {3, 255}}));
    }

    void commandGoesToTheServerOfItsBank()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.bankA().selectRows({4});
        fixture.bankB().selectRows({8});
        OperationFixture::clickRemove(fixture.bankB());
        QVERIFY(fixture.hasDownloadedAgain(fixture.two));
        QCOMPARE(fixture.two.visuals(ScriptedServer::Remove), (Refs{{3, 7}}));
        QVERIFY(fixture.one.requests().isEmpty());
    }

    // The banks show folder 2. The command names folder 1, and only visuals that are in folder 3.
    void aLibraryWithGapsSendsAnotherFolderNumber()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(2, 0, OperationFixture::sparseLibrary()));
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
        fixture.bankA().selectRows({4, 6});
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(fixture.one.visuals(ScriptedServer::Remove), (Refs{{1, 5}}));
    }

    void gapsDoNotMatterAtTheFoldersLevel()
    {
        OperationFixture fixture;
        QVERIFY(fixture.open(0, OperationFixture::sparseLibrary()));
        clickRow(fixture.bankA(), 2);
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QCOMPARE(fixture.one.visuals(ScriptedServer::Remove), (Refs{{2, 3}}));
    }

    void failuresAreShownOnceAtTheEnd()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.refuse("it is <locked>");
        fixture.bankA().selectRows({4, 6});
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        OperationFixture::clickRemove(fixture.bankA());
        EVENTUALLY(!modals.pending());
        QCOMPARE(modals.seen().first().text, u"Failed to remove 2 visuals from a total of 2."_s);
        QCOMPARE(modals.seen().first().details,
                 u"Remove visual 003 in folder 003 on server \"One\" failed: it is <locked>.\n"
                 "Remove visual 005 in folder 003 on server \"One\" failed: it is <locked>."_s);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
    }

    void aCancelDropsTheUnsentRemovals()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.hold();
        fixture.bankA().selectRows({4, 6, 8});
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.one.waitForCommands(1));
        QVERIFY(fixture.cancel(u"Removing..."_s));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        fixture.one.requests().first().answer(ScriptedServer::success);
        // A later command is sent after everything that was queued.
        fixture.controller().handleMoveVisual(3, 4, ServerDeckA);
        EVENTUALLY_COMPARE(fixture.one.commands(ScriptedServer::Move).size(), 1);
        QCOMPARE(fixture.one.visuals(ScriptedServer::Remove), (Refs{{3, 3}}));
    }

    void aCancelAfterTheEndOfTheTaskIsIgnored()
    {
        LogCapture log;
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.refuse("it is locked");
        fixture.bankA().selectRows({4});
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        OperationFixture::clickRemove(fixture.bankA());
        // Cancelled after the task posted its end and before that event is handled.
        BVProgressDialog *const dialog = fixture.dialog(u"Removing..."_s);
        connect(dialog, &QDialog::accepted, dialog, &QDialog::reject, Qt::QueuedConnection);
        EVENTUALLY_COMPARE(log.texts().count(u"Finish notification received from invalid task"_s),
                           1);
        EVENTUALLY(!modals.pending() && !QApplication::activeModalWidget());
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().text, u"Failed to remove 1 visuals from a total of 1."_s);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
    }

    // Both use one queue, and an answer counts for both: they end together, and only the second
    // task is known.
    void aSecondStartAbandonsTheFirstTask()
    {
        LogCapture log;
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.hold();
        fixture.bankA().selectRows({4, 6});
        {
            const LeakAllowed first;
            OperationFixture::clickRemove(fixture.bankA());
        }
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.one.waitForCommands(1));
        fixture.one.accept();
        fixture.one.requests().first().answer(ScriptedServer::success);
        EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
        EVENTUALLY_COMPARE(fixture.one.libraryRequests(), 2);
        QCOMPARE(log.texts().count(u"Finish notification received from invalid task"_s), 1);
        EVENTUALLY_COMPARE(fixture.one.visuals(ScriptedServer::Remove),
                           (Refs{{3, 3}, {3, 5}, {3, 3}, {3, 5}}));
    }

    // During the first request the queue contains 5, 5, 7. Dropping its head leaves 7, 7.
    void aQueueWithDuplicatesRepeatsItsLastCommand()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.one.hold();
        {
            const LeakAllowed allButTheLast;
            for (const int row : {4, 6}) {
                fixture.bankA().selectRows({row});
                OperationFixture::clickRemove(fixture.bankA());
            }
        }
        fixture.bankA().selectRows({6, 8});
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(fixture.one.waitForCommands(1));
        fixture.one.accept();
        fixture.one.requests().first().answer(ScriptedServer::success);
        EVENTUALLY_COMPARE(fixture.one.visuals(ScriptedServer::Remove),
                           (Refs{{3, 3}, {3, 5}, {3, 7}, {3, 7}}));
        EVENTUALLY_COMPARE(fixture.one.libraryRequests(), 2);
    }

    void serverIsLostWhileTheWarningIsOpen_data() { addLosses(); }
    void serverIsLostWhileTheWarningIsOpen()
    {
        QFETCH(const bool, endsItsStream);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        fixture.loseServerADuring(modals, endsItsStream, pressYes);
        OperationFixture::clickRemove(fixture.bankA());
        QVERIFY(!fixture.isConnected(fixture.one));
        QVERIFY(!fixture.hasStarted());
    }

    void windowIsDeletedWhileTheWarningIsOpen()
    {
        OneServerFixture fixture;
        ModalDriver modals;
        modals.answer([&](QDialog &) { fixture.window.reset(); });
        fixture.controller().handleRemoveVisuals(ServerDeckA);
        QVERIFY(!fixture.window);
    }
};

QTEST_MAIN(tst_UIControllerRemoval)
#include "tst_UIControllerRemoval.moc"
