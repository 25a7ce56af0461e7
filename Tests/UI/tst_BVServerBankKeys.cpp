// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowRig.h"

#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Two servers in the window, with the keyboard in the list of bank A.
class KeyStage final
{
public:
    KeyStage()
    {
        rig.connectServer(sampleServer(u"Stage left"_s, loopback(1)));
        rig.connectServer(sampleServer(u"Stage right"_s, loopback(2)));
    }
    [[nodiscard]] bool open() { return rig.show() && list.hasFocus(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&list, key, modifiers);
    }
    /// Puts the keyboard on a row without selecting it.
    void stepTo(int row) { list.setCurrentRow(row, QItemSelectionModel::NoUpdate); }
    [[nodiscard]] QList<int> selected(const BVServerBank &bank) const
    {
        QList<int> rows = bank.selectedRows();
        std::sort(rows.begin(), rows.end());
        return rows;
    }

    WindowRig rig;
    MediaListWidget &list = listOf(rig.bankA());
    MediaListWidget &otherList = listOf(rig.bankB());
};

constexpr int backRow = 0;

} // namespace

/// What the keyboard does in the list of a bank.
class tst_BVServerBankKeys final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void enterOpensTheCurrentFolderAndBackLeadsOut_data();
    void enterOpensTheCurrentFolderAndBackLeadsOut();
    void enterOnASlotDoesNothing();
    void aKeyHeldDownOpensOnce();
    void backLeavesTheFolderFromAnyRow_data();
    void backLeavesTheFolderFromAnyRow();
    void backDoesNothingAtTheFolders();
    void deleteAsksLikeTheButton();
    void deleteNeedsTheButtonEnabled();
    void insertPressesTheUploadButton();
    void typingSearches();

    void listKeysWorkInBothViews_data();
    void listKeysWorkInBothViews();
    void rangesAndSingleRowsAreSelectedByKeys();

    void theWayBackLeadsToTheFolderLeft();
    void aRefreshKeepsTheCurrentRow_data();
    void aRefreshKeepsTheCurrentRow();
    void theCurrentRowIsNeverScrolledTo();
    void aRebuildSelectsNothing();
};

void tst_BVServerBankKeys::enterOpensTheCurrentFolderAndBackLeadsOut_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<int>("folder");
    QTest::newRow("Return, a folder with visuals") << Qt::Key_Return << 3;
    QTest::newRow("Enter of the keypad, a folder with visuals") << Qt::Key_Enter << 3;
    QTest::newRow("Return, a folder that no server has") << Qt::Key_Return << 77;
}

void tst_BVServerBankKeys::enterOpensTheCurrentFolderAndBackLeadsOut()
{
    QFETCH(const Qt::Key, key);
    QFETCH(const int, folder);
    const Qt::KeyboardModifiers modifiers =
        key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier;
    KeyStage stage;
    QVERIFY(stage.open());
    stage.stepTo(folder);
    stage.press(key, modifiers);
    for (const BVServerBank *const bank : {&stage.rig.bankA(), &stage.rig.bankB()}) {
        QCOMPARE(bank->currentFolder, folder);
        QCOMPARE(listOf(*bank).count(), 257);
        QCOMPARE(listOf(*bank).currentRow(), backRow);
    }
    QVERIFY(stage.list.hasFocus());

    stage.press(key, modifiers);
    QCOMPARE(stage.rig.bankA().currentFolder, -1);
    QCOMPARE(stage.rig.bankB().currentFolder, -1);
    QVERIFY(stage.list.hasFocus());
}

void tst_BVServerBankKeys::enterOnASlotDoesNothing()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().folderChanged(3);
    for (const int row : {1, 2, 4, 256}) {
        stage.stepTo(row);
        stage.press(Qt::Key_Return);
        QCOMPARE(stage.rig.bankA().currentFolder, 3);
        QCOMPARE(stage.list.currentRow(), row);
    }
}

void tst_BVServerBankKeys::aKeyHeldDownOpensOnce()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.stepTo(3);
    for (const bool repeats : {false, true, true}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, u"\r"_s, repeats);
        qt_handleKeyEvent(stage.rig.window->windowHandle(), press.type(), Qt::Key_Return,
                          Qt::NoModifier, press.text(), repeats);
        QCoreApplication::processEvents();
        QCOMPARE(stage.rig.bankA().currentFolder, 3);
    }
}

void tst_BVServerBankKeys::backLeavesTheFolderFromAnyRow_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("Backspace") << Qt::Key_Backspace << Qt::KeyboardModifiers();
    QTest::newRow("Alt+Left") << Qt::Key_Left << Qt::KeyboardModifiers(Qt::AltModifier);
}

void tst_BVServerBankKeys::backLeavesTheFolderFromAnyRow()
{
    QFETCH(const Qt::Key, key);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    KeyStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().folderChanged(3);
    stage.stepTo(200);
    stage.press(key, modifiers);
    QCOMPARE(stage.rig.bankA().currentFolder, -1);
    QCOMPARE(stage.list.currentRow(), 3);
}

void tst_BVServerBankKeys::backDoesNothingAtTheFolders()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.stepTo(3);
    stage.press(Qt::Key_Backspace);
    stage.press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(stage.rig.bankA().currentFolder, -1);
    QCOMPARE(stage.list.currentRow(), 3);
}

void tst_BVServerBankKeys::deleteAsksLikeTheButton()
{
    KeyStage stage;
    QVERIFY(stage.open());
    ModalDriver modals;
    modals.escape().escape();
    stage.press(Qt::Key_Delete);
    childOf<QPushButton>(stage.rig.bankA(), "removeButton").click();
    QCOMPARE(modals.seen().size(), 2);
    QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
    QCOMPARE(modals.seen().first().text, modals.seen().last().text);
    stage.rig.window->activateWindow(); // done by a window manager otherwise
    EVENTUALLY(stage.list.hasFocus());
}

void tst_BVServerBankKeys::deleteNeedsTheButtonEnabled()
{
    KeyStage stage;
    QVERIFY(stage.open());
    auto &button = childOf<QPushButton>(stage.rig.bankA(), "removeButton");
    const QSignalSpy clicks(&button, &QPushButton::clicked);
    button.setEnabled(false);
    stage.press(Qt::Key_Delete); // a dialog would be without an answer here, and hang the test
    QCOMPARE(clicks.count(), 0);
}

void tst_BVServerBankKeys::insertPressesTheUploadButton()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().folderChanged(2);
    const QSignalSpy uploads(&stage.rig.bankA(), &BVServerBank::uploadFile);
    ModalDriver modals;
    modals.escape();
    stage.list.setCurrentRow(9);
    stage.press(Qt::Key_Insert);
    QCOMPARE(uploads.count(), 1);
    QCOMPARE(modals.seen().first().title, u"Select file for upload"_s);

    stage.list.setCurrentRow(backRow);
    stage.press(Qt::Key_Insert);
    QCOMPARE(uploads.count(), 1);
}

void tst_BVServerBankKeys::typingSearches()
{
    KeyStage stage;
    QVERIFY(stage.open());
    QTest::keyClicks(&stage.list, u"sta"_s);
    QCOMPARE(stage.list.currentRow(), 3);
    stage.press(Qt::Key_Return);
    QCOMPARE(stage.rig.bankA().currentFolder, 3);
    stage.list.keyboardSearch({}); // begins anew, as a pause of the operator does
    QTest::keyClicks(&stage.list, u"005"_s);
    QCOMPARE(stage.list.currentItem()->text(), u"005: Harbour"_s);
    QCOMPARE(stage.selected(stage.rig.bankB()), QList<int>{6});
}

void tst_BVServerBankKeys::listKeysWorkInBothViews_data()
{
    QTest::addColumn<bool>("listView");
    QTest::addColumn<bool>("inFolder");
    QTest::newRow("list of folders") << true << false;
    QTest::newRow("grid of folders") << false << false;
    QTest::newRow("list of slots") << true << true;
    QTest::newRow("grid of slots") << false << true;
}

void tst_BVServerBankKeys::listKeysWorkInBothViews()
{
    QFETCH(const bool, listView);
    QFETCH(const bool, inFolder);
    KeyStage stage;
    QVERIFY(stage.open());
    listView ? stage.rig.controller().setListMode() : stage.rig.controller().setGridMode();
    if (inFolder)
        stage.rig.controller().folderChanged(3);
    const auto reach = [&](Qt::Key key) {
        stage.press(key);
        const int row = stage.list.currentRow();
        for (const BVServerBank *const bank : {&stage.rig.bankA(), &stage.rig.bankB()})
            QCOMPARE(stage.selected(*bank), QList<int>{row});
        QVERIFY(stage.list.viewport()->rect().contains(
            stage.list.visualItemRect(stage.list.currentItem()).center()));
        QCOMPARE(stage.otherList.verticalScrollBar()->value(),
                 stage.list.verticalScrollBar()->value());
    };
    const auto rowTop = [&] { return stage.list.visualItemRect(stage.list.currentItem()).top(); };
    const int last = stage.list.count() - 1;

    reach(Qt::Key_Down);
    const int below = stage.list.currentRow();
    QVERIFY(listView ? below == 1 : below > 1);
    reach(Qt::Key_End);
    QCOMPARE(stage.list.currentRow(), last);
    reach(Qt::Key_PageUp);
    const int pageUp = stage.list.currentRow();
    QVERIFY(pageUp < last - 1);
    reach(Qt::Key_Home);
    QCOMPARE(stage.list.currentRow(), 0);
    reach(Qt::Key_PageDown);
    QVERIFY(stage.list.currentRow() > below);
    reach(Qt::Key_PageUp);
    QCOMPARE(stage.list.currentRow(), 0);
    if (!listView) {
        const int top = rowTop();
        reach(Qt::Key_Right);
        QCOMPARE(stage.list.currentRow(), 1);
        QCOMPARE(rowTop(), top);
        reach(Qt::Key_Left);
        QCOMPARE(stage.list.currentRow(), 0);
    }
}

void tst_BVServerBankKeys::rangesAndSingleRowsAreSelectedByKeys()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().setListMode();
    stage.press(Qt::Key_Down);
    stage.press(Qt::Key_Down, Qt::ShiftModifier);
    stage.press(Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(stage.selected(stage.rig.bankB()), (QList<int>{1, 2, 3}));
    stage.press(Qt::Key_Down, Qt::ControlModifier);
    stage.press(Qt::Key_Down, Qt::ControlModifier);
    QCOMPARE(stage.selected(stage.rig.bankB()), (QList<int>{1, 2, 3}));
    stage.press(Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(stage.selected(stage.rig.bankB()), (QList<int>{1, 2, 3, 5}));
}

void tst_BVServerBankKeys::theWayBackLeadsToTheFolderLeft()
{
    KeyStage stage;
    QVERIFY(stage.open());
    doubleClickRow(stage.rig.bankB(), 40);
    QCOMPARE(stage.list.currentRow(), backRow);
    QCOMPARE(stage.otherList.currentRow(), backRow);
    stage.stepTo(9);
    doubleClickRow(stage.rig.bankA(), backRow);
    for (const BVServerBank *const bank : {&stage.rig.bankA(), &stage.rig.bankB()}) {
        QCOMPARE(listOf(*bank).currentRow(), 40);
        QCOMPARE(bank->selectedRowCount(), 0);
    }
}

void tst_BVServerBankKeys::aRefreshKeepsTheCurrentRow_data()
{
    QTest::addColumn<int>("folder");
    QTest::newRow("folders") << -1;
    QTest::newRow("a folder with visuals") << 3;
    QTest::newRow("a folder that no server has") << 77;
}

void tst_BVServerBankKeys::aRefreshKeepsTheCurrentRow()
{
    QFETCH(const int, folder);
    KeyStage stage;
    QVERIFY(stage.open());
    if (folder != -1)
        stage.rig.controller().folderChanged(folder);
    stage.stepTo(120);
    stage.rig.bankA().serverContentChanged(stage.rig.bankA().currentServerUuid());
    QCOMPARE(stage.list.currentRow(), 120);
    QVERIFY(stage.list.hasFocus());
}

void tst_BVServerBankKeys::theCurrentRowIsNeverScrolledTo()
{
    KeyStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().setListMode();
    stage.stepTo(200);
    const int scrolled = stage.rig.bankA().scrollPosition();
    QVERIFY(scrolled > 0);
    stage.rig.bankA().setScrollPosition(30); // as with the wheel
    for (const auto *const bank : {&stage.rig.bankA(), &stage.rig.bankB()}) {
        listOf(*bank).setFocus();
        stage.rig.bankA().serverContentChanged(stage.rig.bankA().currentServerUuid());
        QCOMPARE(stage.rig.bankA().scrollPosition(), 30);
    }
    stage.rig.controller().folderChanged(3);
    QCOMPARE(stage.rig.bankA().scrollPosition(), 0);
    stage.rig.controller().backToFolders();
    QCOMPARE(stage.rig.bankA().scrollPosition(), 30);
    QCOMPARE(stage.rig.bankB().scrollPosition(), 30);
}

void tst_BVServerBankKeys::aRebuildSelectsNothing()
{
    KeyStage stage;
    QVERIFY(stage.open());
    const QSignalSpy changesA(&stage.list, &QListWidget::itemSelectionChanged);
    const QSignalSpy changesB(&stage.otherList, &QListWidget::itemSelectionChanged);
    stage.rig.controller().folderChanged(3);
    stage.rig.bankA().serverContentChanged(stage.rig.bankA().currentServerUuid());
    stage.rig.controller().backToFolders();
    QCOMPARE(changesA.count() + changesB.count(), 0);
    QCOMPARE(stage.rig.bankA().selectedRowCount() + stage.rig.bankB().selectedRowCount(), 0);
}

QTEST_MAIN(tst_BVServerBankKeys)
#include "tst_BVServerBankKeys.moc"
