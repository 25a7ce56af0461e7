// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Two servers in the window, with the focus in the list of bank A.
class KeyFixture final : public OneServerFixture
{
public:
    KeyFixture() { connectServer(sampleServer(u"Stage right"_s, loopback(2))); }
    [[nodiscard]] bool open() { return show() && list.hasFocus(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&list, key, modifiers);
    }
    /// Makes a row the current one without selecting it.
    void stepTo(int row) { list.setCurrentRow(row, QItemSelectionModel::NoUpdate); }

    MediaListWidget &list = listOf(bankA());
    MediaListWidget &otherList = listOf(bankB());
};

constexpr int backRow = 0;

} // namespace

/// What keys do in the list of a bank.
class tst_BVServerBankKeys final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<KeyFixture>();
        QVERIFY(fixture->open());
    }
    void cleanup() { fixture.reset(); }

    void enterOpensTheCurrentFolderAndBackLeadsOut_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<int>("folder");
        QTest::newRow("Return, a folder with visuals") << Qt::Key_Return << 3;
        QTest::newRow("Enter of the keypad, a folder with visuals") << Qt::Key_Enter << 3;
        QTest::newRow("Return, a folder that no server has") << Qt::Key_Return << 77;
    }
    void enterOpensTheCurrentFolderAndBackLeadsOut()
    {
        QFETCH(const Qt::Key, key);
        QFETCH(const int, folder);
        const Qt::KeyboardModifiers modifiers =
            key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier;
        fixture->stepTo(folder);
        fixture->press(key, modifiers);
        for (const BVServerBank *const bank : {&fixture->bankA(), &fixture->bankB()}) {
            QCOMPARE(bank->currentFolder, folder);
            QCOMPARE(listOf(*bank).count(), 257);
            QCOMPARE(listOf(*bank).currentRow(), backRow);
        }
        QVERIFY(fixture->list.hasFocus());

        fixture->press(key, modifiers);
        QCOMPARE(fixture->bankA().currentFolder, -1);
        QCOMPARE(fixture->bankB().currentFolder, -1);
        QVERIFY(fixture->list.hasFocus());
    }

    void enterOnASlotDoesNothing()
    {
        fixture->controller().folderChanged(3);
        for (const int row : {1, 2, 4, 256}) {
            fixture->stepTo(row);
            fixture->press(Qt::Key_Return);
            QCOMPARE(fixture->bankA().currentFolder, 3);
            QCOMPARE(fixture->list.currentRow(), row);
        }
    }

    void aKeyHeldDownOpensOnce()
    {
        fixture->stepTo(3);
        for (const bool repeats : {false, true, true}) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, u"\r"_s, repeats);
            qt_handleKeyEvent(fixture->window->windowHandle(), press.type(), Qt::Key_Return,
                              Qt::NoModifier, press.text(), repeats);
            QCoreApplication::processEvents();
            QCOMPARE(fixture->bankA().currentFolder, 3);
        }
    }

    void backLeavesTheFolderFromAnyRow_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("Backspace") << Qt::Key_Backspace << Qt::KeyboardModifiers();
        QTest::newRow("Alt+Left") << Qt::Key_Left << Qt::KeyboardModifiers(Qt::AltModifier);
    }
    void backLeavesTheFolderFromAnyRow()
    {
        QFETCH(const Qt::Key, key);
        QFETCH(const Qt::KeyboardModifiers, modifiers);
        fixture->controller().folderChanged(3);
        fixture->stepTo(200);
        fixture->press(key, modifiers);
        QCOMPARE(fixture->bankA().currentFolder, -1);
        QCOMPARE(fixture->list.currentRow(), 3);
    }

    void backDoesNothingAtTheFolders()
    {
        fixture->stepTo(3);
        fixture->press(Qt::Key_Backspace);
        fixture->press(Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(fixture->bankA().currentFolder, -1);
        QCOMPARE(fixture->list.currentRow(), 3);
    }

    void deleteAsksLikeTheButton()
    {
        ModalDriver modals;
        modals.escape().escape();
        fixture->press(Qt::Key_Delete);
        childOf<QPushButton>(fixture->bankA(), "removeButton").click();
        QCOMPARE(modals.seen().size(), 2);
        QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
        QCOMPARE(modals.seen().first().text, modals.seen().last().text);
        fixture->window->activateWindow(); // a window manager would do this
        EVENTUALLY(fixture->list.hasFocus());
    }

    void deleteNeedsTheButtonEnabled()
    {
        auto &button = childOf<QPushButton>(fixture->bankA(), "removeButton");
        const QSignalSpy clicks(&button, &QPushButton::clicked);
        button.setEnabled(false);
        fixture->press(
            Qt::Key_Delete); // a dialog would be without an answer here, and hang the test
        QCOMPARE(clicks.count(), 0);
    }

    void insertPressesTheUploadButton()
    {
        fixture->controller().folderChanged(2);
        const QSignalSpy uploads(&fixture->bankA(), &BVServerBank::uploadFile);
        ModalDriver modals;
        modals.escape();
        fixture->list.setCurrentRow(9);
        fixture->press(Qt::Key_Insert);
        QCOMPARE(uploads.count(), 1);
        QCOMPARE(modals.seen().first().title, u"Select file for upload"_s);

        fixture->list.setCurrentRow(backRow);
        fixture->press(Qt::Key_Insert);
        QCOMPARE(uploads.count(), 1);
    }

    void typingSearches()
    {
        QTest::keyClicks(&fixture->list, u"sta"_s);
        QCOMPARE(fixture->list.currentRow(), 3);
        fixture->press(Qt::Key_Return);
        QCOMPARE(fixture->bankA().currentFolder, 3);
        fixture->list.keyboardSearch({}); // starts a new search, as a pause does
        QTest::keyClicks(&fixture->list, u"005"_s);
        QCOMPARE(fixture->list.currentItem()->text(), u"005: Harbour"_s);
        QCOMPARE(selectedRowsOf(fixture->bankB()), QList<int>{6});
    }

    void listKeysWorkInBothViews_data()
    {
        QTest::addColumn<bool>("listView");
        QTest::addColumn<bool>("inFolder");
        QTest::newRow("list of folders") << true << false;
        QTest::newRow("grid of folders") << false << false;
        QTest::newRow("list of slots") << true << true;
        QTest::newRow("grid of slots") << false << true;
    }
    void listKeysWorkInBothViews()
    {
        QFETCH(const bool, listView);
        QFETCH(const bool, inFolder);
        listView ? fixture->controller().setListMode() : fixture->controller().setGridMode();
        if (inFolder)
            fixture->controller().folderChanged(3);
        const auto reach = [&](Qt::Key key) {
            fixture->press(key);
            const int row = fixture->list.currentRow();
            for (const BVServerBank *const bank : {&fixture->bankA(), &fixture->bankB()})
                QCOMPARE(selectedRowsOf(*bank), QList<int>{row});
            QVERIFY(fixture->list.viewport()->rect().contains(
                fixture->list.visualItemRect(fixture->list.currentItem()).center()));
            QCOMPARE(fixture->otherList.verticalScrollBar()->value(),
                     fixture->list.verticalScrollBar()->value());
        };
        const auto rowTop = [&] {
            return fixture->list.visualItemRect(fixture->list.currentItem()).top();
        };
        const int last = fixture->list.count() - 1;

        reach(Qt::Key_Down);
        const int below = fixture->list.currentRow();
        QVERIFY(listView ? below == 1 : below > 1);
        reach(Qt::Key_End);
        QCOMPARE(fixture->list.currentRow(), last);
        reach(Qt::Key_PageUp);
        const int pageUp = fixture->list.currentRow();
        QVERIFY(pageUp < last - 1);
        reach(Qt::Key_Home);
        QCOMPARE(fixture->list.currentRow(), 0);
        reach(Qt::Key_PageDown);
        QVERIFY(fixture->list.currentRow() > below);
        reach(Qt::Key_PageUp);
        QCOMPARE(fixture->list.currentRow(), 0);
        if (!listView) {
            const int top = rowTop();
            reach(Qt::Key_Right);
            QCOMPARE(fixture->list.currentRow(), 1);
            QCOMPARE(rowTop(), top);
            reach(Qt::Key_Left);
            QCOMPARE(fixture->list.currentRow(), 0);
        }
    }

    void rangesAndSingleRowsAreSelectedByKeys()
    {
        fixture->controller().setListMode();
        fixture->press(Qt::Key_Down);
        fixture->press(Qt::Key_Down, Qt::ShiftModifier);
        fixture->press(Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(selectedRowsOf(fixture->bankB()), (QList<int>{1, 2, 3}));
        fixture->press(Qt::Key_Down, Qt::ControlModifier);
        fixture->press(Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(selectedRowsOf(fixture->bankB()), (QList<int>{1, 2, 3}));
        fixture->press(Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(selectedRowsOf(fixture->bankB()), (QList<int>{1, 2, 3, 5}));
    }

    void backMakesTheLeftFolderTheCurrentRow()
    {
        doubleClickRow(fixture->bankB(), 40);
        QCOMPARE(fixture->list.currentRow(), backRow);
        QCOMPARE(fixture->otherList.currentRow(), backRow);
        fixture->stepTo(9);
        doubleClickRow(fixture->bankA(), backRow);
        for (const BVServerBank *const bank : {&fixture->bankA(), &fixture->bankB()}) {
            QCOMPARE(listOf(*bank).currentRow(), 40);
            QCOMPARE(bank->selectedRowCount(), 0);
        }
    }

    void aRefreshKeepsTheCurrentRow_data()
    {
        QTest::addColumn<int>("folder");
        QTest::newRow("folders") << -1;
        QTest::newRow("a folder with visuals") << 3;
        QTest::newRow("a folder that no server has") << 77;
    }
    void aRefreshKeepsTheCurrentRow()
    {
        QFETCH(const int, folder);
        if (folder != -1)
            fixture->controller().folderChanged(folder);
        fixture->stepTo(120);
        fixture->bankA().serverContentChanged(fixture->bankA().currentServerUuid());
        QCOMPARE(fixture->list.currentRow(), 120);
        QVERIFY(fixture->list.hasFocus());
    }

    void theCurrentRowIsNeverScrolledTo()
    {
        fixture->controller().setListMode();
        fixture->stepTo(200);
        const int scrolled = fixture->bankA().scrollPosition();
        QVERIFY(scrolled > 0);
        fixture->bankA().setScrollPosition(30); // as with the wheel
        for (const auto *const bank : {&fixture->bankA(), &fixture->bankB()}) {
            listOf(*bank).setFocus();
            fixture->bankA().serverContentChanged(fixture->bankA().currentServerUuid());
            QCOMPARE(fixture->bankA().scrollPosition(), 30);
        }
        fixture->controller().folderChanged(3);
        QCOMPARE(fixture->bankA().scrollPosition(), 0);
        fixture->controller().backToFolders();
        QCOMPARE(fixture->bankA().scrollPosition(), 30);
        QCOMPARE(fixture->bankB().scrollPosition(), 30);
    }

    void aRebuildSelectsNothing()
    {
        const QSignalSpy changesA(&fixture->list, &QListWidget::itemSelectionChanged);
        const QSignalSpy changesB(&fixture->otherList, &QListWidget::itemSelectionChanged);
        fixture->controller().folderChanged(3);
        fixture->bankA().serverContentChanged(fixture->bankA().currentServerUuid());
        fixture->controller().backToFolders();
        QCOMPARE(changesA.count() + changesB.count(), 0);
        QCOMPARE(fixture->bankA().selectedRowCount() + fixture->bankB().selectedRowCount(), 0);
    }

private:
    std::unique_ptr<KeyFixture> fixture;
};

QTEST_MAIN(tst_BVServerBankKeys)
#include "tst_BVServerBankKeys.moc"
