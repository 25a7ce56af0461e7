// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/RowDrag.h"

#include <QListWidget>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

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
    rig.connectServer(sampleServer(u"Stage left"_s, loopback(1)));
    rig.bankA().setListMode(listView);
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    auto &controller = *rig.bankA().findChild<ServerBankController *>();
    disconnect(&controller, &ServerBankController::moveVisual, &rig.controller(), nullptr);
    QSignalSpy moves(&controller, &ServerBankController::moveVisual);
    const QRect place = listOf(rig.bankA()).visualItemRect(listOf(rig.bankA()).item(4));

    QVERIFY(dragRow(rig, rig.bankA(), 4, rig.bankA(), 2));
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
    rig.connectServer(sampleServer(u"Stage left"_s, loopback(2)));
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    rig.controller().backToFolders();
    rig.bankA().setListMode(listView);
    QVERIFY(!dragRow(rig, rig.bankA(), 3, rig.bankA(), 1));
}

void tst_BVServerBankDrag::rowsCannotBeDroppedOnTheOtherBank()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"Stage left"_s, loopback(3)));
    rig.connectServer(sampleServer(u"Stage right"_s, loopback(4)));
    QVERIFY(rig.show());
    rig.controller().folderChanged(3);
    const QSignalSpy movesA(&listOf(rig.bankA()), &MediaListWidget::moveItem);
    const QSignalSpy movesB(&listOf(rig.bankB()), &MediaListWidget::moveItem);
    QVERIFY(dragRow(rig, rig.bankA(), 4, rig.bankB(), 2));
    QCOMPARE(movesA.count(), 0);
    QCOMPARE(movesB.count(), 0);
}

QTEST_MAIN(tst_BVServerBankDrag)
#include "tst_BVServerBankDrag.moc"
