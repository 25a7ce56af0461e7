// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/WindowRig.h"

using namespace Qt::Literals::StringLiterals;

/// What it costs to rebuild the rows of one bank in a window that is shown, layout included.
class tst_BVServerBankBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QPixmapCache::setCacheLimit(40960); // as the program does; the full folder fits twice
        QList<Visual> files;
        for (int slot = 1; slot < 256; ++slot)
            files.append(visual(slot, u"Sunset"_s, slot));
        Server server = sampleServer(u"Stage left"_s, u"127.50.6.1"_s);
        server.folders = {folder(0, u"Full"_s, files)};
        rig.connectServer(server);
        QVERIFY(rig.show());
    }

    void foldersLevel_data() { addViewModes(); }
    void foldersLevel()
    {
        QFETCH(const bool, listView);
        rig.bankA().setListMode(listView);
        QBENCHMARK
        {
            rig.bankA().showFolders();
            QCoreApplication::processEvents();
        }
        QCOMPARE(listOf(rig.bankA()).count(), 256);
    }

    void slotsLevel_data() { addViewModes(); }
    void slotsLevel()
    {
        QFETCH(const bool, listView);
        rig.bankA().setListMode(listView);
        QBENCHMARK
        {
            rig.bankA().showFolder(0, false);
            QCoreApplication::processEvents();
        }
        QCOMPARE(listOf(rig.bankA()).count(), 257);
    }

private:
    static void addViewModes()
    {
        QTest::addColumn<bool>("listView");
        QTest::newRow("list view") << true;
        QTest::newRow("icon view") << false;
    }

    WindowRig rig;
};

QTEST_MAIN(tst_BVServerBankBenchmark)
#include "tst_BVServerBankBenchmark.moc"
