// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"
#include "Support/FailOnWarning.h"
#include "Support/WindowRig.h"

#include <QDrag>
#include <QListWidget>
#include <QSignalSpy>
#include <QTimer>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// Drags inside the window as a hand makes them, on a platform that has real drag and drop.
class tst_BVServerBankDrag final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void dragAsksForAMoveAndMovesNoRow_data();
    void dragAsksForAMoveAndMovesNoRow();
    void nothingCanBeDraggedAtTheFoldersLevel_data();
    void nothingCanBeDraggedAtTheFoldersLevel();
    void rowsCannotBeDroppedOnTheOtherBank();

private:
    static QPoint at(const WindowRig &rig, const BVServerBank &bank, int row)
    {
        const MediaListWidget &list = listOf(bank);
        return list.viewport()->mapTo(rig.window.get(),
                                      list.visualItemRect(list.item(row)).center());
    }

    /// Returns whether the gesture became a drag.
    static bool drag(const WindowRig &rig, const QPoint &from, const QPoint &to)
    {
        QWindow *window = rig.window->windowHandle();
        bool dragging = false;
        // The second move starts the drag's own event loop, in which the rest has to happen.
        QTimer rest;
        connect(&rest, &QTimer::timeout, window, [&] {
            if (dragging || !rig.window->findChild<QDrag *>())
                return;
            dragging = true;
            QTest::mouseMove(window, (from + to) / 2);
            QTest::mouseMove(window, to);
            QTest::mouseRelease(window, Qt::LeftButton, {}, to);
        });
        rest.start(1ms);
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        const int distance = QApplication::startDragDistance();
        QTest::mouseMove(window, from + QPoint(distance + 1, 0));
        QTest::mouseMove(window, from + QPoint(distance + 2, 0));
        if (!dragging)
            QTest::mouseRelease(window, Qt::LeftButton, {}, to);
        return dragging;
    }

    static void addViewModes()
    {
        QTest::addColumn<bool>("listView");
        QTest::newRow("list view") << true;
        QTest::newRow("icon view") << false;
    }
};

void tst_BVServerBankDrag::dragAsksForAMoveAndMovesNoRow_data()
{
    addViewModes();
}

void tst_BVServerBankDrag::dragAsksForAMoveAndMovesNoRow()
{
    QFETCH(const bool, listView);
    WindowRig rig;
    rig.connectServer(sampleServer(u"Stage left"_s, u"127.50.5.1"_s));
    rig.bankA().setListMode(listView);
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    auto &controller = *rig.bankA().findChild<ServerBankController *>();
    disconnect(&controller, &ServerBankController::moveVisual, &rig.controller(), nullptr);
    QSignalSpy moves(&controller, &ServerBankController::moveVisual);
    const QRect place = listOf(rig.bankA()).visualItemRect(listOf(rig.bankA()).item(4));

    QVERIFY(drag(rig, at(rig, rig.bankA(), 4), at(rig, rig.bankA(), 2)));
    QCOMPARE(moves, (QList<QVariantList>{{3, 1, QVariant::fromValue(ServerDeckA)}}));
    QCOMPARE(listOf(rig.bankA()).count(), 257);
    QCOMPARE(listOf(rig.bankA()).item(4)->text(), u"003: Sunset"_s);
    QCOMPARE(listOf(rig.bankA()).visualItemRect(listOf(rig.bankA()).item(4)), place);
}

void tst_BVServerBankDrag::nothingCanBeDraggedAtTheFoldersLevel_data()
{
    addViewModes();
}

void tst_BVServerBankDrag::nothingCanBeDraggedAtTheFoldersLevel()
{
    QFETCH(const bool, listView);
    WindowRig rig;
    rig.connectServer(sampleServer(u"Stage left"_s, u"127.50.5.2"_s));
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    rig.controller().backToFolders();
    rig.bankA().setListMode(listView);
    QVERIFY(!drag(rig, at(rig, rig.bankA(), 3), at(rig, rig.bankA(), 1)));
}

void tst_BVServerBankDrag::rowsCannotBeDroppedOnTheOtherBank()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"Stage left"_s, u"127.50.5.3"_s));
    rig.connectServer(sampleServer(u"Stage right"_s, u"127.50.5.4"_s));
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    const QSignalSpy movesA(&listOf(rig.bankA()), &MediaListWidget::moveItem);
    const QSignalSpy movesB(&listOf(rig.bankB()), &MediaListWidget::moveItem);
    QVERIFY(drag(rig, at(rig, rig.bankA(), 4), at(rig, rig.bankB(), 2)));
    QCOMPARE(movesA.count(), 0);
    QCOMPARE(movesB.count(), 0);
}

QTEST_MAIN(tst_BVServerBankDrag)
#include "tst_BVServerBankDrag.moc"
