// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/RowDrag.h"
#include "Support/WindowFixture.h"

#include <QListWidget>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

/// Drags with the mouse inside the window, on a platform that has real drag and drop.
class tst_BVServerBankDrag final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void dragAsksForAMoveAndMovesNoRow_data() { addViewModes(); }
    void dragAsksForAMoveAndMovesNoRow()
    {
        QFETCH(const bool, listView);
        OneServerFixture fixture;
        fixture.bankA().setListMode(listView);
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        auto &controller = *fixture.bankA().findChild<ServerBankController *>();
        disconnect(&controller, &ServerBankController::moveVisual, &fixture.controller(), nullptr);
        QSignalSpy moves(&controller, &ServerBankController::moveVisual);
        const QRect place = listOf(fixture.bankA()).visualItemRect(listOf(fixture.bankA()).item(4));

        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankA()), 2));
        QCOMPARE(moves, (QList<QVariantList>{{3, 1, QVariant::fromValue(ServerDeckA)}}));
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
        QCOMPARE(listOf(fixture.bankA()).visualItemRect(listOf(fixture.bankA()).item(4)), place);
    }

    void nothingCanBeDraggedAtTheFoldersLevel_data() { addViewModes(); }
    void nothingCanBeDraggedAtTheFoldersLevel()
    {
        QFETCH(const bool, listView);
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        fixture.controller().backToFolders();
        fixture.bankA().setListMode(listView);
        QVERIFY(!dragRow(listOf(fixture.bankA()), 3, listOf(fixture.bankA()), 1));
    }

    void rowsCannotBeDroppedOnTheOtherBank()
    {
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(3)));
        fixture.connectServer(sampleServer(u"Stage right"_s, loopback(4)));
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        const QSignalSpy movesA(&listOf(fixture.bankA()), &MediaListWidget::moveItem);
        const QSignalSpy movesB(&listOf(fixture.bankB()), &MediaListWidget::moveItem);
        QVERIFY(dragRow(listOf(fixture.bankA()), 4, listOf(fixture.bankB()), 2));
        QCOMPARE(movesA.count(), 0);
        QCOMPARE(movesB.count(), 0);
    }

private:
    static void addViewModes()
    {
        QTest::addColumn<bool>("listView");
        QTest::newRow("list view") << true;
        QTest::newRow("icon view") << false;
    }
};

QTEST_MAIN(tst_BVServerBankDrag)
#include "tst_BVServerBankDrag.moc"
