// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationStage.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 allWarnings = 0xFFFFFFFF;
constexpr quint32 removalWarning = 1;
constexpr auto accepted = R"({"msg_type":7,"RESULT":0})";
constexpr auto executePath = "/brenvoka/execute.html";

using Refs = QList<VisualRef>;

} // namespace

/// Removing what is selected, from the click to the fresh library.
class tst_UIControllerRemoval : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void anEmptySelectionIsAskedAboutAndDoesNothing();
    void withoutAnyServerNothingIsAsked();
    void aServerThatIsNotConnectedIsEnoughToAsk();
    void noChangesNothing_data();
    void noChangesNothing();
    void yesRemovesAndKeepsTheWarning();
    void askingNoMoreIsSavedAtOnce();
    void withTheWarningOffNothingIsAsked();

    void clickedRowsAreRemoved_data();
    void clickedRowsAreRemoved();
    void aSelectedFolderStandsForItsVisuals();
    void theDeckDecidesTheServer();
    void aLibraryWithGapsNamesAnotherFolder();
    void atTheFoldersLevelGapsDoNoHarm();

    void failuresAreShownOnceAtTheEnd();
    void aCancelKeepsWhatWasNotSent();
    void aCancelTogetherWithTheLastResultIsOneEnd();
    void aSecondStartLetsGoOfTheFirst();
    void aQueueWithDuplicatesRepeatsItsLast();
    void theServerGoesWhileTheWarningIsOpen_data();
    void theServerGoesWhileTheWarningIsOpen();
    void theWindowGoesWhileTheWarningIsOpen();
};

void tst_UIControllerRemoval::anEmptySelectionIsAskedAboutAndDoesNothing()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings));
    ModalDriver modals;
    modals.press(QMessageBox::Yes);
    OperationStage::clickRemove(stage.bankA());
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
    QCOMPARE(modals.seen().first().text,
             u"Are you sure you want to remove the selected visuals?\n\n"
             "Note: The operation can not be undone."_s);
    QVERIFY(!stage.hasStarted());
}

void tst_UIControllerRemoval::withoutAnyServerNothingIsAsked()
{
    WindowRig rig;
    ModalDriver modals;
    rig.controller().handleRemoveVisuals(ServerDeckA);
    rig.controller().handleRemoveVisuals(ServerDeckB);
    QVERIFY(modals.seen().isEmpty());
}

void tst_UIControllerRemoval::aServerThatIsNotConnectedIsEnoughToAsk()
{
    WindowRig rig;
    rig.model.upsertServer(sampleServer(u"One"_s, loopback(9)));
    ModalDriver modals;
    modals.press(QMessageBox::Yes);
    rig.controller().handleRemoveVisuals(ServerDeckA);
    QCOMPARE(modals.seen().size(), 1);
}

void tst_UIControllerRemoval::noChangesNothing_data()
{
    QTest::addColumn<bool>("escape");
    QTest::newRow("No") << false;
    QTest::newRow("Escape") << true;
}

void tst_UIControllerRemoval::noChangesNothing()
{
    QFETCH(const bool, escape);
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings));
    clickRow(stage.bankA(), 4);
    ModalDriver modals;
    escape ? modals.escape() : modals.press(QMessageBox::No);
    OperationStage::clickRemove(stage.bankA());
    QCOMPARE(modals.seen().size(), 1);
    QVERIFY(!stage.hasStarted());
    QCOMPARE(stage.model().warningLevel, allWarnings);
    QCOMPARE(stage.bankA().selectedRows(), QList<int>{4});
}

void tst_UIControllerRemoval::yesRemovesAndKeepsTheWarning()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings));
    clickRow(stage.bankA(), 4);
    ModalDriver modals;
    modals.press(QMessageBox::Yes);
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.hasStarted());
    QVERIFY(stage.isFetchedAnew(stage.one));
    QCOMPARE(stage.one.visuals(PlayedServer::Remove), (Refs{{3, 3}}));
    QCOMPARE(stage.two.libraryRequests(), 1);
    QVERIFY(stage.two.wire.requests(executePath).isEmpty());
    QCOMPARE(stage.model().warningLevel, allWarnings);
}

void tst_UIControllerRemoval::askingNoMoreIsSavedAtOnce()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings));
    clickRow(stage.bankA(), 4);
    ModalDriver modals;
    modals.press(u"Yes, don't ask again"_s);
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.hasStarted());
    QCOMPARE(stage.model().warningLevel, allWarnings - removalWarning);
    const QSettings settings(settingsFilePath(), QSettings::IniFormat);
    QCOMPARE(settings.value(u"warningLevel"_s).toUInt(), allWarnings - removalWarning);
    QVERIFY(stage.isFetchedAnew(stage.one));
    OperationStage::clickRemove(stage.bankA());
    QCOMPARE(modals.seen().size(), 1);
}

void tst_UIControllerRemoval::withTheWarningOffNothingIsAsked()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings - removalWarning));
    clickRow(stage.bankA(), 4);
    const ModalDriver modals;
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(modals.seen().isEmpty());
    QVERIFY(stage.hasStarted());
}

void tst_UIControllerRemoval::clickedRowsAreRemoved_data()
{
    using Click = QPair<int, Qt::KeyboardModifiers>;
    QTest::addColumn<QList<Click>>("clicks");
    QTest::addColumn<Refs>("removed");
    const Qt::KeyboardModifiers none;
    const Qt::KeyboardModifiers shift = Qt::ShiftModifier;
    const Qt::KeyboardModifiers control = Qt::ControlModifier;
    QTest::newRow("a range passes over empty slots")
        << QList<Click>{{4, none}, {8, shift}} << Refs{{3, 3}, {3, 5}, {3, 7}};
    QTest::newRow("Back and no visual are never removed")
        << QList<Click>{{0, none}, {5, shift}} << Refs{{3, 3}};
    QTest::newRow("single rows are added")
        << QList<Click>{{4, none}, {8, control}} << Refs{{3, 3}, {3, 7}};
    QTest::newRow("a single row is taken out of a range")
        << QList<Click>{{4, none}, {8, shift}, {6, control}} << Refs{{3, 3}, {3, 7}};
    QTest::newRow("slot 255 is a slot like any other")
        << QList<Click>{{8, none}, {256, shift}} << Refs{{3, 7}, {3, 255}};
    QTest::newRow("empty slots alone") << QList<Click>{{9, none}, {12, shift}} << Refs{};
}

void tst_UIControllerRemoval::clickedRowsAreRemoved()
{
    using Click = QPair<int, Qt::KeyboardModifiers>;
    QFETCH(const QList<Click>, clicks);
    QFETCH(const Refs, removed);
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    for (const auto &[row, modifiers] : clicks)
        clickRow(stage.bankA(), row, modifiers);
    OperationStage::clickRemove(stage.bankA());
    QCOMPARE(stage.hasStarted(), !removed.isEmpty());
    if (removed.isEmpty())
        return;
    QVERIFY(stage.isFetchedAnew(stage.one));
    Refs sent = stage.one.visuals(PlayedServer::Remove);
    std::sort(sent.begin(), sent.end()); // the list gives its selection in no order
    QCOMPARE(sent, removed);
}

void tst_UIControllerRemoval::aSelectedFolderStandsForItsVisuals()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.open());
    clickRow(stage.bankA(), 3);
    clickRow(stage.bankA(), 2, Qt::ControlModifier);  // empty
    clickRow(stage.bankA(), 99, Qt::ControlModifier); // absent
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.isFetchedAnew(stage.one));
    QCOMPARE(stage.one.visuals(PlayedServer::Remove), (Refs{{3, 3}, {3, 5}, {3, 7}, {3, 255}}));
}

void tst_UIControllerRemoval::theDeckDecidesTheServer()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.bankA().selectRows({4});
    stage.bankB().selectRows({8});
    OperationStage::clickRemove(stage.bankB());
    QVERIFY(stage.isFetchedAnew(stage.two));
    QCOMPARE(stage.two.visuals(PlayedServer::Remove), (Refs{{3, 7}}));
    QVERIFY(stage.one.wire.requests(executePath).isEmpty());
}

// Folder 2 is on show; the server is told to clear folder 1, as far as folder 3 holds the visual.
void tst_UIControllerRemoval::aLibraryWithGapsNamesAnotherFolder()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(2, 0, OperationStage::sparseLibrary()));
    QCOMPARE(listOf(stage.bankA()).item(4)->text(), u"003: Sunset"_s);
    stage.bankA().selectRows({4, 6});
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.isFetchedAnew(stage.one));
    QCOMPARE(stage.one.visuals(PlayedServer::Remove), (Refs{{1, 5}}));
}

void tst_UIControllerRemoval::atTheFoldersLevelGapsDoNoHarm()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.open(0, OperationStage::sparseLibrary()));
    clickRow(stage.bankA(), 2);
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.isFetchedAnew(stage.one));
    QCOMPARE(stage.one.visuals(PlayedServer::Remove), (Refs{{2, 3}}));
}

void tst_UIControllerRemoval::failuresAreShownOnceAtTheEnd()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.one.refuse("it is <locked>");
    stage.bankA().selectRows({4, 6});
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    OperationStage::clickRemove(stage.bankA());
    EVENTUALLY(!modals.pending());
    QCOMPARE(modals.seen().first().text, u"Failed to remove 2 visuals from a total of 2."_s);
    QCOMPARE(modals.seen().first().details,
             u"Remove visual 003 in folder 003 on server \"One\" failed: it is <locked>.\n"
             "Remove visual 005 in folder 003 on server \"One\" failed: it is <locked>."_s);
    QVERIFY(stage.isFetchedAnew(stage.one));
}

void tst_UIControllerRemoval::aCancelKeepsWhatWasNotSent()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.one.wire.hold(executePath);
    stage.bankA().selectRows({4, 6, 8});
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.one.wire.waitForRequests(1, executePath));
    QVERIFY(stage.cancel(u"Removing..."_s));
    QVERIFY(stage.isFetchedAnew(stage.one));
    stage.one.wire.requests(executePath).first().answer(accepted);
    // The next command comes behind all that might have been queued.
    stage.controller().handleMoveVisual(3, 4, ServerDeckA);
    EVENTUALLY_COMPARE(stage.one.commands(PlayedServer::Move).size(), 1);
    QCOMPARE(stage.one.visuals(PlayedServer::Remove), (Refs{{3, 3}}));
}

void tst_UIControllerRemoval::aCancelTogetherWithTheLastResultIsOneEnd()
{
    LogCapture log;
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.one.refuse("it is locked");
    stage.bankA().selectRows({4});
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    OperationStage::clickRemove(stage.bankA());
    // Cancelled after the task's end was posted and before that is received.
    BVProgressDialog *const dialog = stage.dialog(u"Removing..."_s);
    connect(dialog, &QDialog::accepted, dialog, &QDialog::reject, Qt::QueuedConnection);
    EVENTUALLY_COMPARE(log.texts().count(u"Finish notification received from invalid task"_s), 1);
    EVENTUALLY(!modals.pending() && !QApplication::activeModalWidget());
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().text, u"Failed to remove 1 visuals from a total of 1."_s);
    QVERIFY(stage.isFetchedAnew(stage.one));
}

// Both ask one queue, and an answer counts for both: they end together, and only one is known.
void tst_UIControllerRemoval::aSecondStartLetsGoOfTheFirst()
{
    LogCapture log;
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.one.wire.hold(executePath);
    stage.bankA().selectRows({4, 6});
    {
        const LeakAllowed first;
        OperationStage::clickRemove(stage.bankA());
    }
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.one.wire.waitForRequests(1, executePath));
    stage.one.accept();
    stage.one.wire.requests(executePath).first().answer(accepted);
    EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
    EVENTUALLY_COMPARE(stage.one.libraryRequests(), 2);
    QCOMPARE(log.texts().count(u"Finish notification received from invalid task"_s), 1);
    EVENTUALLY_COMPARE(stage.one.visuals(PlayedServer::Remove),
                       (Refs{{3, 3}, {3, 5}, {3, 3}, {3, 5}}));
}

// While the first visual is on the wire, the queue holds 5, 5, 7: without its head that is 7, 7.
void tst_UIControllerRemoval::aQueueWithDuplicatesRepeatsItsLast()
{
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3));
    stage.one.wire.hold(executePath);
    {
        const LeakAllowed allButTheLast;
        for (const int row : {4, 6}) {
            stage.bankA().selectRows({row});
            OperationStage::clickRemove(stage.bankA());
        }
    }
    stage.bankA().selectRows({6, 8});
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(stage.one.wire.waitForRequests(1, executePath));
    stage.one.accept();
    stage.one.wire.requests(executePath).first().answer(accepted);
    EVENTUALLY_COMPARE(stage.one.visuals(PlayedServer::Remove),
                       (Refs{{3, 3}, {3, 5}, {3, 7}, {3, 7}}));
    EVENTUALLY_COMPARE(stage.one.libraryRequests(), 2);
}

void tst_UIControllerRemoval::theServerGoesWhileTheWarningIsOpen_data()
{
    QTest::addColumn<bool>("toldByTheServer");
    QTest::newRow("silence") << false;
    QTest::newRow("end of the stream") << true;
}

void tst_UIControllerRemoval::theServerGoesWhileTheWarningIsOpen()
{
    QFETCH(const bool, toldByTheServer);
    OperationStage stage(loopback(1));
    QVERIFY(stage.openInside(3, allWarnings));
    clickRow(stage.bankA(), 4);
    ModalDriver modals;
    modals.answer([&](QDialog &warning) {
        if (toldByTheServer)
            stage.one.stream.close();
        else
            stage.lose();
        QVERIFY(waitFor([&] { return !modals.pending(); }));
        qobject_cast<QMessageBox *>(&warning)->button(QMessageBox::Yes)->click();
    });
    if (toldByTheServer)
        modals.press(QMessageBox::Ok);
    OperationStage::clickRemove(stage.bankA());
    QVERIFY(!stage.rig.isConnected(stage.one));
    QVERIFY(!stage.hasStarted());
}

void tst_UIControllerRemoval::theWindowGoesWhileTheWarningIsOpen()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(9)));
    ModalDriver modals;
    modals.answer([&](QDialog &) { rig.window.reset(); });
    rig.controller().handleRemoveVisuals(ServerDeckA);
    QVERIFY(!rig.window);
}

QTEST_MAIN(tst_UIControllerRemoval)
#include "tst_UIControllerRemoval.moc"
