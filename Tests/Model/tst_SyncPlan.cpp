// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibraryComparison.h"

#include "Support/Libraries.h"

#include <QRandomGenerator>
#include <QTest>

using namespace LibraryComparison;
using namespace Qt::Literals::StringLiterals;

/// The plan of a synchronisation.
class tst_SyncPlan : public QObject
{
    Q_OBJECT

private slots:
    void planHasRenamesRemovalsAndTransfers_data()
    {
        QTest::addColumn<QList<MediaFolder>>("source");
        QTest::addColumn<QList<MediaFolder>>("destination");
        QTest::addColumn<QList<VisualRef>>("candidates");
        QTest::addColumn<QList<FolderRename>>("renames");
        QTest::addColumn<QList<VisualRef>>("removals");
        QTest::addColumn<QList<VisualRef>>("transfers");
        QTest::addColumn<bool>("replaces");
        using Folders = QList<MediaFolder>;
        using Refs = QList<VisualRef>;
        using Renames = QList<FolderRename>;
        const Folders filled{folder(3, u"Three"_s, {visual(7)})};
        const Folders other{folder(3, u"Three"_s, {visual(7, u"other"_s)})};
        const Folders empty{folder(3, u"Three"_s)};
        const Folders drei{folder(3, u"Drei"_s, {visual(7)})};
        const Refs slot7{{3, 7}};

        QTest::newRow("nothing selected")
            << filled << other << Refs() << Renames() << Refs() << Refs() << false;
        QTest::newRow("equal slot")
            << filled << filled << slot7 << Renames() << Refs() << Refs() << false;
        QTest::newRow("new visual")
            << filled << empty << slot7 << Renames() << Refs() << slot7 << false;
        QTest::newRow("other visual")
            << filled << other << slot7 << Renames() << Refs() << slot7 << true;
        QTest::newRow("visual gone")
            << empty << filled << slot7 << Renames() << slot7 << Refs() << false;
        QTest::newRow("an equal slot still touches its folder")
            << filled << drei << slot7 << Renames{{3, u"Three"_s}} << Refs() << Refs() << false;
        QTest::newRow("a folder that the destination lacks is named first")
            << filled << Folders() << slot7 << Renames{{3, u"Three"_s}} << Refs() << slot7 << false;
        QTest::newRow("an empty folder is named too")
            << empty << Folders() << slot7 << Renames{{3, u"Three"_s}} << Refs() << Refs() << false;
        QTest::newRow("a folder that the source lacks keeps its name")
            << Folders() << filled << slot7 << Renames() << slot7 << Refs() << false;
        QTest::newRow("unknown folder in both")
            << Folders() << Folders() << slot7 << Renames() << Refs() << Refs() << false;
        QTest::newRow("folder that is not selected keeps its name")
            << filled << drei << Refs{{4, 7}} << Renames() << Refs() << Refs() << false;
        QTest::newRow("orders of the candidates and of the folders")
            << Folders{folder(1, u"a"_s, {visual(1), visual(2)}), folder(0, u"b"_s, {visual(1)})}
            << Folders{folder(5, u"e"_s, {visual(9)})} << Refs{{5, 9}, {1, 2}, {0, 1}, {1, 1}}
            << Renames{{0, u"b"_s}, {1, u"a"_s}} << Refs{{5, 9}} << Refs{{1, 2}, {0, 1}, {1, 1}}
            << false;
        QTest::newRow("the name is that of the slot, not of the position")
            << Folders{folder(4, u"Four"_s), folder(0, u"Zero"_s)} << Folders()
            << Refs{{0, 1}, {1, 1}, {4, 1}} << Renames{{0, u"Zero"_s}, {4, u"Four"_s}} << Refs()
            << Refs() << false;
        QTest::newRow("one replaced among new ones")
            << Folders{folder(3, u"Three"_s, {visual(6), visual(7), visual(8)})} << other
            << Refs{{3, 6}, {3, 7}, {3, 8}} << Renames() << Refs() << Refs{{3, 6}, {3, 7}, {3, 8}}
            << true;
        QTest::newRow("the highest numbers")
            << Folders{folder(256, u"Last"_s, {visual(0), visual(255)})} << Folders()
            << Refs{{256, 0}, {256, 255}} << Renames{{256, u"Last"_s}} << Refs()
            << Refs{{256, 0}, {256, 255}} << false;
        QTest::newRow("records with impossible numbers")
            << Folders{folder(-1, u"a"_s, {visual(7)}), folder(257, u"b"_s, {visual(7)}),
                       folder(3, u"Three"_s, {visual(-1), visual(256)})}
            << Folders() << Refs{{-1, 7}, {257, 7}, {3, -1}, {3, 256}, {2, 255}, {4, 0}}
            << Renames{{3, u"Three"_s}} << Refs() << Refs() << false;
        QTest::newRow("not the visual of the next folder")
            << Folders{folder(3, u"Three"_s), folder(4, u"Four"_s, {visual(0)})} << Folders()
            << Refs{{3, 256}} << Renames{{3, u"Three"_s}} << Refs() << Refs() << false;
        QTest::newRow("no such numbers") << filled << empty << Refs{{-1, 7}, {3, 256}, {256, -1}}
                                         << Renames() << Refs() << Refs() << false;
        QTest::newRow("same visual twice")
            << filled << Folders() << Refs{{3, 7}, {3, 7}} << Renames{{3, u"Three"_s}} << Refs()
            << Refs{{3, 7}, {3, 7}} << false;
    }
    void planHasRenamesRemovalsAndTransfers()
    {
        QFETCH(const QList<MediaFolder>, source);
        QFETCH(const QList<MediaFolder>, destination);
        QFETCH(const QList<VisualRef>, candidates);
        QFETCH(const QList<VisualRef>, removals);
        QFETCH(const bool, replaces);
        const SyncPlan plan = planSync(server(source), server(destination), candidates);
        QTEST(plan.renames, "renames");
        QCOMPARE(plan.removals, removals);
        QTEST(plan.transfers, "transfers");
        QCOMPARE(plan.replaces, replaces);
        QCOMPARE(plan.isDestructive(), replaces || !removals.isEmpty());
    }

    void visualsAreCountedAndRenamesAreNot()
    {
        const Server source = server({folder(0, u"a"_s, {visual(1), visual(2)})});
        const Server destination = server({folder(0, u"b"_s, {visual(3)})});
        const SyncPlan plan = planSync(source, destination, allSlots());
        QCOMPARE(plan.renames.size(), 1);
        QCOMPARE(plan.visualCount(), 3);
    }

    void planOfRandomLibrariesMatchesTheModel()
    {
        QRandomGenerator random(20);
        const auto number = [&random](int below) { return random.bounded(below); };
        const auto library = [&number] {
            QList<MediaFolder> folders;
            for (int count = number(5); count > 0; --count) {
                QList<Visual> files;
                for (int file = number(6); file > 0; --file)
                    files.append(visual(number(5), QString::number(number(2))));
                folders.append(folder(number(5), QString::number(number(2)), files));
            }
            return server(folders);
        };
        for (int round = 0; round < 2000; ++round) {
            const Server source = library();
            const Server destination = library();
            QList<VisualRef> candidates;
            for (int count = number(40); count > 0; --count)
                candidates.append({number(8) - 1, number(8) - 1});
            const SyncPlan plan = planSync(source, destination, candidates);
            const SyncPlan expected = literalPlan(source, destination, candidates);
            QCOMPARE(plan.renames, expected.renames);
            QCOMPARE(plan.removals, expected.removals);
            QCOMPARE(plan.transfers, expected.transfers);
            QCOMPARE(plan.replaces, expected.replaces);
        }
    }

    void planOfFullLibrariesMatchesTheModel()
    {
        const SyncPlan plan = planSync(fullServer(u"a"_s), fullServer(u"b"_s), allSlots());
        QCOMPARE(plan.renames.size(), 256);
        QCOMPARE(plan.removals.size(), 0);
        QCOMPARE(plan.transfers, allSlots());
        QVERIFY(plan.replaces);
    }
};

QTEST_APPLESS_MAIN(tst_SyncPlan)
#include "tst_SyncPlan.moc"
