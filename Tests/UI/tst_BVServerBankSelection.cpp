// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QListWidget>
#include <QScrollBar>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

/// Which slots the selection of a bank means, and how the controllers select rows.
class tst_BVServerBankSelection final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void selectedFolderMeansAllItsSlots()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        QCOMPARE(bank.selectedVisuals(false), QList<VisualRef>{});

        for (const int row : {3, 200}) { // one that exists, one that doesn't
            bank.selectRows({row});
            const QList<VisualRef> visuals = bank.selectedVisuals(false);
            QCOMPARE(visuals.size(), 255);
            QCOMPARE(visuals.first(), VisualRef(row, 1));
            QCOMPARE(visuals.last(), VisualRef(row, 255));
        }
        bank.selectRows({2, 3, 200});
        QCOMPARE(bank.selectedVisuals(false).size(), 3 * 255);
        QCOMPARE(bank.selectedVisuals(true), refs(3, {3, 5}));
    }

    void selectedSlots()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        fixture.controller().folderChanged(3);
        bank.selectRows({0, 1, 2, 4, 6, 256});
        QCOMPARE(bank.selectedVisuals(false), refs(3, {1, 3, 5, 255}));
        QCOMPARE(bank.selectedVisuals(true), refs(3, {3, 5}));

        fixture.controller().folderChanged(77); // on no server
        bank.selectRows({2});
        QCOMPARE(bank.selectedVisuals(false), refs(-1, {1}));
        QCOMPARE(bank.selectedVisuals(true), QList<VisualRef>{});
    }

    void slotsLevelSearchesTheFolderAtThePosition()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(16));
        // Position 0 has folder 1. Position 1 has folder 4, with slot 9.
        server.folders = {folder(1, u"One"_s, {cachedVisual(8, u"Eight"_s, 8)}),
                          folder(4, u"Four"_s, {cachedVisual(9, u"Nine"_s, 9)})};
        fixture.connectServer(server);
        fixture.controller().folderChanged(1);
        fixture.bankA().selectRows({9, 10});
        QCOMPARE(fixture.bankA().selectedVisuals(false), refs(0, {8, 9}));
        QCOMPARE(fixture.bankA().selectedVisuals(true), refs(0, {9}));
    }

    void folderBeyondTheLibraryCountsAsEmpty()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(17));
        server.folders = {folder(250, u"Far"_s, {cachedVisual(8, u"Eight"_s, 8)})};
        fixture.connectServer(server);
        fixture.controller().folderChanged(250);
        fixture.bankA().selectRows({9});
        QCOMPARE(fixture.bankA().selectedVisuals(false), refs(0, {8}));
        QCOMPARE(fixture.bankA().selectedVisuals(true), QList<VisualRef>{});
        QCOMPARE(fixture.bankA().allVisuals().size(), 254);
    }

    void allVisualsOfTheFoldersLevel()
    {
        OneServerFixture fixture;
        const QList<VisualRef> visuals = fixture.bankA().allVisuals();
        QCOMPARE(visuals.size(), 65280);
        QCOMPARE(visuals.first(), VisualRef(0, 1));
        QCOMPARE(visuals.at(255), VisualRef(1, 1));
        QCOMPARE(visuals.last(), VisualRef(255, 255));
    }

    void allVisualsOfTheSlotsLevel()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(2);
        LogCapture log;
        const QList<VisualRef> visuals = fixture.bankA().allVisuals();
        QCOMPARE(visuals.size(), 254);
        QCOMPARE(visuals.first(), VisualRef(2, 1));
        QCOMPARE(visuals.last(), VisualRef(2, 254));
        const QStringList lines = log.entries();
        QCOMPARE(lines.size(), 254);
        QCOMPARE(lines.first(), u"info: 2-1"_s);
        QCOMPARE(lines.last(), u"info: 2-254"_s);
    }

    void selectRowsReportsNothing()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        const QSignalSpy changes(&listOf(bank), &QListWidget::itemSelectionChanged);
        bank.selectRows({1, 2});
        bank.selectRows({255, 256, 3000, -1, 0});
        QCOMPARE(selectedRowsOf(bank), (QList<int>{0, 255}));
        QCOMPARE(bank.selectedRowCount(), 2);
        QCOMPARE(changes.count(), 0);
    }

    void scrollPositionIsThatOfTheSlider()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        fixture.bankA().setScrollPosition(40);
        QCOMPARE(fixture.bankA().scrollPosition(), 40);
        QCOMPARE(listOf(fixture.bankA()).verticalScrollBar()->sliderPosition(), 40);
    }

private:
    static QList<VisualRef> refs(int folder, const QList<int> &slotNumbers)
    {
        QList<VisualRef> result;
        for (const int slot : slotNumbers)
            result.append({folder, slot});
        return result;
    }
};

QTEST_MAIN(tst_BVServerBankSelection)
#include "tst_BVServerBankSelection.moc"
