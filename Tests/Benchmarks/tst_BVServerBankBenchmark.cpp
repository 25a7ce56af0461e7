// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/EventCount.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QStyledItemDelegate>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Waits until the rows have been painted.
void waitForPaint(const QListWidget &list)
{
    const EventCount events(*list.viewport());
    while (events.of(QEvent::Paint) == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

/// A QListWidget with the rows of a bank: the same pictures, texts, sizes, fonts and style sheet.
class PlainList final : public QListWidget
{
public:
    explicit PlainList(const BVServerBank &bank)
    {
        const MediaListWidget &list = listOf(bank);
        setStyleSheet(bank.styleSheet());
        setViewMode(list.viewMode());
        setResizeMode(list.resizeMode());
        setIconSize(list.iconSize());
        setSelectionMode(list.selectionMode());
        resize(list.size());
        for (int row = 0; row < list.count(); ++row)
            rows.append(*list.item(row));
    }

    void rebuild()
    {
        clear();
        for (const QListWidgetItem &row : rows)
            addItem(new QListWidgetItem(row));
        waitForPaint(*this);
    }

private:
    QList<QListWidgetItem> rows;
};

} // namespace

/// The time to rebuild the rows of one bank in a visible window, with layout, and to paint them.
class tst_BVServerBankBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QPixmapCache::setCacheLimit(40960); // like the program
        QList<Visual> files;
        QList<Visual> longFiles;
        for (int slot = 1; slot < 256; ++slot) {
            files.append(cachedVisual(slot, u"Sunset"_s, slot));
            longFiles.append(cachedVisual(slot, u"Sunset over the sea "_s.repeated(500), slot));
        }
        Server server = sampleServer(u"Stage left"_s, loopback(1));
        server.folders = {folder(0, u"Full"_s, files), folder(1, u"Long names"_s, longFiles)};
        fixture.connectServer(server);
        QVERIFY(fixture.show());
    }

    void rebuildOfFoldersLevel_data() { addViewModes(); }
    void rebuildOfFoldersLevel()
    {
        QFETCH(const bool, listView);
        fixture.bankA().setListMode(listView);
        compareWithPlainList(listView ? "rebuild of a bank: folders, list"
                                      : "rebuild of a bank: folders, grid",
                             [this] { fixture.bankA().showFolders(); });
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
    }

    void rebuildOfSlotsLevel_data() { addViewModes(); }
    void rebuildOfSlotsLevel()
    {
        QFETCH(const bool, listView);
        fixture.bankA().setListMode(listView);
        compareWithPlainList(listView ? "rebuild of a bank: slots, list"
                                      : "rebuild of a bank: slots, grid",
                             [this] { fixture.bankA().showFolder(0, false); });
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
    }

    void paintingOfNames() { comparePainting("painting of a list", 0, 1.1, 1.05); }
    // The bank's delegate cuts a long name before its layout.
    void paintingOfLongNames()
    {
        comparePainting("painting of a list with names of 10,000 characters", 1, 1, 0.5);
    }

private:
    static void addViewModes()
    {
        QTest::addColumn<bool>("listView");
        QTest::newRow("list view") << true;
        QTest::newRow("icon view") << false;
    }

    static void paint(MediaListWidget &list)
    {
        for (int time = 0; time < 20; ++time)
            QVERIFY(!list.viewport()->grab().isNull());
    }

    void comparePainting(const char *work, int folderSlot, double good, double goal)
    {
        fixture.bankA().setListMode(true);
        fixture.bankA().showFolder(folderSlot, false);
        MediaListWidget &list = listOf(fixture.bankA());
        QStyledItemDelegate plainDelegate;
        QAbstractItemDelegate *const bankDelegate = list.itemDelegate();
        const auto costWith = [&](QAbstractItemDelegate *delegate) {
            list.setItemDelegate(delegate);
            return processorTime([&] { paint(list); });
        };
        compareCosts([&] { return costWith(bankDelegate); },
                     [&] { return costWith(&plainDelegate); })
            .print({work, "`QStyledItemDelegate`", good, goal});
        list.setItemDelegate(bankDelegate);
    }

    template <typename Rebuild>
    void compareWithPlainList(const char *work, Rebuild rebuild)
    {
        rebuild();
        const BVServerBank &bank = fixture.bankA();
        PlainList plain(bank);
        plain.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plain));
        const auto rebuildBank = [&] {
            rebuild();
            waitForPaint(listOf(bank));
        };
        const auto rebuildPlain = [&] { plain.rebuild(); };
        compareCosts([&] { return processorTime(rebuildBank); },
                     [&] { return processorTime(rebuildPlain); }, 21)
            .print(
                {work, "a bare `QListWidget` with the same rows, sizes and style sheet", 1.5, 1.2});
        QCOMPARE(plain.count(), listOf(bank).count());
    }

    WindowFixture fixture;
};

QTEST_MAIN(tst_BVServerBankBenchmark)
#include "tst_BVServerBankBenchmark.moc"
