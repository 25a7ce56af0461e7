// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibraryComparison.h"

#include "Model/LibraryIndex.h"
#include "Support/Libraries.h"

#include <QTest>

using namespace LibraryComparison;
using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(Visual)

namespace {

Visual renamed(Visual visual)
{
    visual.name += u" again"_s;
    return visual;
}

} // namespace

/// The rules by which two libraries are compared, without a plan.
class tst_LibraryComparison : public QObject
{
    Q_OBJECT

private slots:
    void slotIsEmpty_data()
    {
        QTest::addColumn<Server>("library");
        QTest::addColumn<int>("folderSlot");
        QTest::addColumn<int>("fileSlot");
        QTest::addColumn<bool>("empty");
        const QList<MediaFolder> folders{folder(3, u"Three"_s, {visual(7)}), folder(4, u"Four"_s)};
        QTest::newRow("visual is there") << server(folders) << 3 << 7 << false;
        QTest::newRow("folder has no such visual") << server(folders) << 3 << 8 << true;
        QTest::newRow("folder is empty") << server(folders) << 4 << 7 << true;
        QTest::newRow("no such folder") << server(folders) << 5 << 7 << true;
        QTest::newRow("no server") << server(QUuid(), folders) << 3 << 7 << true;
    }
    void slotIsEmpty()
    {
        QFETCH(const Server, library);
        QFETCH(const int, folderSlot);
        QFETCH(const int, fileSlot);
        QTEST(slotEmpty(library, folderSlot, fileSlot), "empty");
    }

    void slotsAreEqual_data()
    {
        QTest::addColumn<QList<MediaFolder>>("first");
        QTest::addColumn<QList<MediaFolder>>("second");
        QTest::addColumn<bool>("equal");
        using Folders = QList<MediaFolder>;
        const Folders none;
        const Folders empty{folder(3, u"Three"_s)};
        const Folders other{folder(3, u"Three"_s, {visual(8)})};
        const Folders filled{folder(3, u"Three"_s, {visual(7)})};
        const Folders otherName{folder(3, u"Three"_s, {renamed(visual(7))})};
        const Folders otherHash{folder(3, u"Three"_s, {{u"x"_s.repeated(32), visual(7).name, 7}})};
        const Folders otherFolderName{folder(3, u"Drei"_s, {visual(7)})};
        QTest::newRow("folder absent on both") << none << none << true;
        QTest::newRow("folder on one side, slot empty") << other << none << true;
        QTest::newRow("folder on one side, slot filled") << filled << none << false;
        QTest::newRow("folder on both, both empty") << empty << other << true;
        QTest::newRow("folder on both, one filled") << filled << other << false;
        QTest::newRow("equal visuals") << filled << filled << true;
        QTest::newRow("folder names don't count") << filled << otherFolderName << true;
        QTest::newRow("visuals of another name") << filled << otherName << false;
        QTest::newRow("visuals of another hash") << filled << otherHash << false;
    }
    void slotsAreEqual()
    {
        QFETCH(const QList<MediaFolder>, first);
        QFETCH(const QList<MediaFolder>, second);
        QFETCH(const bool, equal);
        QCOMPARE(slotsEqual(server(first), server(second), 3, 7), equal);
        QCOMPARE(slotsEqual(server(second), server(first), 3, 7), equal);
    }

    void namesAreEqual_data()
    {
        QTest::addColumn<QList<MediaFolder>>("first");
        QTest::addColumn<QList<MediaFolder>>("second");
        QTest::addColumn<bool>("equal");
        using Folders = QList<MediaFolder>;
        QTest::newRow("same name") << Folders{folder(3, u"Three"_s)}
                                   << Folders{folder(3, u"Three"_s, {visual(1)})} << true;
        QTest::newRow("other name")
            << Folders{folder(3, u"Three"_s)} << Folders{folder(3, u"three"_s)} << false;
        QTest::newRow("absent on one") << Folders{folder(3, u"Three"_s)} << Folders() << false;
        QTest::newRow("absent on both") << Folders() << Folders() << false;
    }
    void namesAreEqual()
    {
        QFETCH(const QList<MediaFolder>, first);
        QFETCH(const QList<MediaFolder>, second);
        QFETCH(const bool, equal);
        QCOMPARE(folderNamesEqual(server(first), server(second), 3), equal);
        QCOMPARE(folderNamesEqual(server(second), server(first), 3), equal);
    }

    void firstOfTwoWithTheSameNumberCounts()
    {
        const Server twice = server({folder(3, u"First"_s, {visual(1, u"a"_s), visual(1, u"b"_s)}),
                                     folder(3, u"Second"_s, {visual(2)})});
        const Server once = server({folder(3, u"First"_s, {visual(1, u"a"_s)})});
        QVERIFY(slotsEqual(twice, once, 3, 1));
        QVERIFY(slotsEqual(twice, once, 3, 2));
        QVERIFY(slotEmpty(twice, 3, 2));
        QVERIFY(folderNamesEqual(twice, once, 3));
        QCOMPARE(differences(visualSameMarks(twice, once, 3)), QList<int>());
        const SyncPlan plan = planSync(once, twice, allSlots());
        QCOMPARE(plan.visualCount(), 0);
        QCOMPARE(plan.renames.size(), 0);
    }

    void folderMayDifferWithoutADifferingRow_data()
    {
        QTest::addColumn<QList<Visual>>("first");
        QTest::addColumn<QList<Visual>>("second");
        const QString hash = hashOf(1);
        const Visual one = visual(1, u"a"_s, hash);
        const Visual two = visual(2, u"b"_s, hash);
        QTest::newRow("slot 0 has no row")
            << QList<Visual>{visual(0, u"a"_s), one} << QList<Visual>{one};
        QTest::newRow("equal hashes keep the order of the document")
            << QList<Visual>{one, two} << QList<Visual>{two, one};
        QTest::newRow("second visual of a slot")
            << QList<Visual>{one, visual(1, u"c"_s, hashOf(2))} << QList<Visual>{one};
    }
    void folderMayDifferWithoutADifferingRow()
    {
        QFETCH(const QList<Visual>, first);
        QFETCH(const QList<Visual>, second);
        const Server library = server({folder(3, u"Three"_s, first)});
        const Server other = server({folder(3, u"Three"_s, second)});
        QCOMPARE(differences(folderSameMarks(library, other)), QList<int>{3});
        QList<int> rows = differences(visualSameMarks(library, other, 3));
        rows.removeAll(0);
        QCOMPARE(rows, QList<int>());
        QCOMPARE(planSync(library, other, allSlots()).visualCount(), 0);
    }

    void marksOfFolders_data()
    {
        QTest::addColumn<QList<MediaFolder>>("first");
        QTest::addColumn<QList<MediaFolder>>("second");
        QTest::addColumn<QList<int>>("differing");
        using Folders = QList<MediaFolder>;
        using Numbers = QList<int>;
        const QList<Visual> files{visual(1, u"a"_s), visual(2, u"b"_s)};
        const Folders three{folder(3, u"Three"_s, files)};
        QTest::newRow("no folders") << Folders() << Folders() << Numbers();
        QTest::newRow("equal folders") << three << three << Numbers();
        QTest::newRow("folder on one side") << three << Folders() << Numbers{3};
        QTest::newRow("first and last")
            << Folders{folder(0, u"a"_s), folder(255, u"b"_s)} << Folders() << Numbers{0, 255};
        QTest::newRow("a folder past the marks")
            << Folders{folder(256, u"a"_s)} << Folders() << Numbers();
        QTest::newRow("another name")
            << three << Folders{folder(3, u"Drei"_s, files)} << Numbers{3};
        QTest::newRow("fewer visuals")
            << three << Folders{folder(3, u"Three"_s, files.first(1))} << Numbers{3};
        QTest::newRow("the same visuals in other slots")
            << three << Folders{folder(3, u"Three"_s, {visual(2, u"a"_s), visual(1, u"b"_s)})}
            << Numbers{3};
        QTest::newRow("the same visuals in another order")
            << three << Folders{{{files.at(1), files.at(0)}, u"Three"_s, 3}} << Numbers{3};
        QTest::newRow("a visual of another name")
            << three << Folders{folder(3, u"Three"_s, {files.at(0), renamed(files.at(1))})}
            << Numbers{3};
    }
    void marksOfFolders()
    {
        QFETCH(const QList<MediaFolder>, first);
        QFETCH(const QList<MediaFolder>, second);
        QFETCH(const QList<int>, differing);
        QCOMPARE(differences(folderSameMarks(server(first), server(second))), differing);
        QCOMPARE(differences(folderSameMarks(server(second), server(first))), differing);
    }

    void marksOfVisuals_data()
    {
        QTest::addColumn<QList<MediaFolder>>("first");
        QTest::addColumn<QList<MediaFolder>>("second");
        QTest::addColumn<QList<int>>("differing");
        using Folders = QList<MediaFolder>;
        using Numbers = QList<int>;
        const Folders filled{folder(3, u"Three"_s, {visual(0), visual(1), visual(255)})};
        QTest::newRow("folder absent on both") << Folders() << Folders() << Numbers();
        QTest::newRow("folder on one side") << filled << Folders() << Numbers{0, 1, 255};
        QTest::newRow("empty folder on one side")
            << Folders{folder(3, u"a"_s)} << Folders() << Numbers();
        QTest::newRow("equal") << filled << filled << Numbers();
        QTest::newRow("one visual missing")
            << filled << Folders{folder(3, u"Three"_s, {visual(0), visual(255)})} << Numbers{1};
        QTest::newRow("one visual of another name")
            << filled
            << Folders{folder(3, u"Three"_s, {visual(0), renamed(visual(1)), visual(255)})}
            << Numbers{1};
    }
    void marksOfVisuals()
    {
        QFETCH(const QList<MediaFolder>, first);
        QFETCH(const QList<MediaFolder>, second);
        QFETCH(const QList<int>, differing);
        QCOMPARE(differences(visualSameMarks(server(first), server(second), 3)), differing);
        QCOMPARE(differences(visualSameMarks(server(second), server(first), 3)), differing);
    }

    void bankWithoutServerShowsNoDifference()
    {
        const Server filled = server({folder(3, u"Three"_s, {visual(7)})});
        for (const auto &[first, second] :
             {std::pair(filled, Server()), std::pair(Server(), filled),
              std::pair(Server(), Server())}) {
            QVERIFY(slotsEqual(first, second, 3, 7));
            QVERIFY(folderNamesEqual(first, second, 3));
            QVERIFY(folderNamesEqual(first, second, 9));
            QVERIFY(folderSameMarks(first, second).all());
            QVERIFY(visualSameMarks(first, second, 3).all());
            const SyncPlan plan = planSync(first, second, allSlots());
            QCOMPARE(plan.visualCount(), 0);
            QCOMPARE(plan.renames.size(), 0);
        }
    }

    void unknownNumbersAreNotFound()
    {
        const Server first = server({folder(3, u"Three"_s, {visual(7)})});
        const Server second = server({folder(3, u"Drei"_s)});
        for (const int number :
             {-1, 256, 257, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            QVERIFY(slotEmpty(first, number, 7));
            QVERIFY(slotEmpty(first, 3, number));
            QVERIFY(slotsEqual(first, second, number, 7));
            QVERIFY(slotsEqual(first, second, 3, number));
            QVERIFY(!folderNamesEqual(first, second, number));
            QVERIFY(visualSameMarks(first, second, number).all());
            const SyncPlan plan = planSync(first, second, {{number, 7}, {3, number}});
            QCOMPARE(plan.visualCount(), 0);
            QCOMPARE(plan.renames, (QList<FolderRename>{{3, u"Three"_s}}));
        }
    }

    void indexFindsTheFirstOfEachNumber()
    {
        const QList<MediaFolder> folders{
            folder(256, u"First"_s, {visual(0, u"a"_s), visual(0, u"b"_s), visual(256)}),
            folder(256, u"Second"_s, {visual(1)}), folder(257, u"Third"_s, {visual(2)})};
        const LibraryIndex index(folders);
        QCOMPARE(index.folder(256), &folders.at(0));
        QCOMPARE(index.visual({256, 0}), &folders.at(0).files.at(0));
        const QList<VisualRef> missing{{256, 1}, {256, 256}, {256, -1},  {257, 2},
                                       {-1, 0},  {0, 0},     {0, 65536}, {256, 65536}};
        for (const VisualRef &ref : missing)
            QVERIFY(!index.visual(ref));
        QVERIFY(!index.folder(0));
        QVERIFY(!index.folder(257));
        QVERIFY(!index.folder(-1));
    }

    void folderOfOneServerDiffersWithItsVisuals()
    {
        const Server first = server({folder(7, u"Seven"_s, {visual(1), visual(2)})});
        const Server second = server({});
        QCOMPARE(differences(folderSameMarks(first, second)), QList<int>{7});
        QCOMPARE(differences(visualSameMarks(first, second, 7)), (QList<int>{1, 2}));
    }

    void renamedFolderDiffersButItsVisualsDoNot()
    {
        const Server first = server({folder(7, u"Seven"_s, {visual(1)})});
        const Server second = server({folder(7, u"Sieben"_s, {visual(1)})});
        QCOMPARE(differences(folderSameMarks(first, second)), QList<int>{7});
        QVERIFY(visualSameMarks(first, second, 7).all());
        QVERIFY(!folderNamesEqual(first, second, 7));
    }
};

QTEST_APPLESS_MAIN(tst_LibraryComparison)
#include "tst_LibraryComparison.moc"
