// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QStyledItemDelegate>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Processes the layout and paints the rows.
void showNow(QListWidget &list)
{
    QCoreApplication::processEvents();
    list.viewport()->repaint();
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
        showNow(*this);
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
        compareWithPlainList([this] { fixture.bankA().showFolders(); });
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
    }

    void rebuildOfSlotsLevel_data() { addViewModes(); }
    void rebuildOfSlotsLevel()
    {
        QFETCH(const bool, listView);
        fixture.bankA().setListMode(listView);
        compareWithPlainList([this] { fixture.bankA().showFolder(0, false); });
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
    }

    void painting_data()
    {
        QTest::addColumn<int>("folderSlot");
        QTest::newRow("names of 11 characters") << 0;
        QTest::newRow("names of 10,000 characters") << 1;
    }
    void painting()
    {
        QFETCH(const int, folderSlot);
        fixture.bankA().setListMode(true);
        fixture.bankA().showFolder(folderSlot, false);
        MediaListWidget &list = listOf(fixture.bankA());
        QStyledItemDelegate plainDelegate;
        QAbstractItemDelegate *const bankDelegate = list.itemDelegate();
        const Comparison time = compare(
            [&] {
                list.setItemDelegate(bankDelegate);
                paint(list);
            },
            [&] {
                list.setItemDelegate(&plainDelegate);
                paint(list);
            });
        list.setItemDelegate(bankDelegate);
        // The bank's delegate cuts a long name before its layout.
        const double limit = folderSlot == 0 ? 2 : 1;
        time.print("20 paintings of a list with the bank's delegate", "with QStyledItemDelegate");
        QVERIFY(time.ratio() < limit);
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

    template <typename Rebuild>
    void compareWithPlainList(Rebuild rebuild)
    {
        rebuild();
        const BVServerBank &bank = fixture.bankA();
        PlainList plain(bank);
        plain.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plain));
        const Comparison time = compare(
            [&] {
                rebuild();
                showNow(listOf(bank));
            },
            [&] { plain.rebuild(); }, 21);
        QCOMPARE(plain.count(), listOf(bank).count());
        time.print("rebuild of a bank", "rebuild of a QListWidget with the same rows");
        QVERIFY(time.ratio() < 8);
    }

    WindowFixture fixture;
};

QTEST_MAIN(tst_BVServerBankBenchmark)
#include "tst_BVServerBankBenchmark.moc"
