// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryDifference.h"

#include "Support/Libraries.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// What `compare` finds.
class tst_LibraryDifference final : public QObject
{
    Q_OBJECT

private slots:
    void equalLibraries()
    {
        const QList<MediaFolder> folders{folder(3, u"Three"_s, {visual(7)})};
        const LibraryDifference difference =
            LibraryDifference::between(server(folders), server(folders));
        QVERIFY(difference.isEqual());
        QCOMPARE(difference.slotCount, 0);
    }

    void visualsAndNamesThatDiffer()
    {
        const LibraryDifference difference = LibraryDifference::between(
            server({folder(3, u"Three"_s, {visual(7), visual(8), visual(9)}), folder(4, u"4"_s)}),
            server({folder(3, u"Drei"_s, {visual(7), visual(8, u"other"_s), visual(10)})}));
        QCOMPARE(difference.folders.size(), 2);
        QCOMPARE(difference.slotCount, 3);
        const FolderDifference &three = difference.folders.first();
        QCOMPARE(three.slot, 3);
        QCOMPARE(*three.firstName, u"Three"_s);
        QCOMPARE(*three.secondName, u"Drei"_s);
        QCOMPARE(slotsOf(three), (QList<int>{8, 9, 10}));
        QVERIFY(three.visuals.at(0).first && three.visuals.at(0).second);
        QVERIFY(three.visuals.at(1).first && !three.visuals.at(1).second);
        QVERIFY(!three.visuals.at(2).first && three.visuals.at(2).second);
        QVERIFY(difference.folders.at(1).firstName);
        QVERIFY(!difference.folders.at(1).secondName);
    }

    void slot0IsListedAndNotCounted()
    {
        const LibraryDifference difference = LibraryDifference::between(
            server({folder(3, u"Three"_s, {visual(0)})}), server({folder(3, u"Three"_s)}));
        QVERIFY(!difference.isEqual());
        QCOMPARE(difference.slotCount, 0);
        QCOMPARE(slotsOf(difference.folders.first()), QList<int>{0});
    }

    void anotherStoredOrderIsADifferenceWithoutVisuals()
    {
        MediaFolder one = folder(3, u"Three"_s, {visual(7), visual(8)});
        MediaFolder other = one;
        std::swap(other.files[0], other.files[1]);
        const LibraryDifference difference =
            LibraryDifference::between(server({one}), server({other}));
        QVERIFY(!difference.isEqual());
        QVERIFY(difference.folders.first().visuals.isEmpty());
    }

    void differencesAreThoseOfThePlan()
    {
        QRandomGenerator random(23);
        const auto library = [&random] {
            QList<MediaFolder> folders;
            for (int count = random.bounded(5); count > 0; --count) {
                QList<Visual> files;
                for (int file = random.bounded(6); file > 0; --file)
                    files.append(visual(random.bounded(5), QString::number(random.bounded(2))));
                folders.append(folder(random.bounded(5), u"name"_s, files));
            }
            return server(folders);
        };
        for (int round = 0; round < 300; ++round) {
            const Server first = library();
            const Server second = library();
            const LibraryDifference difference = LibraryDifference::between(first, second);
            const auto plan = LibraryComparison::planSync(first, second, allSlots());
            QCOMPARE(difference.slotCount, plan.visualCount());
            QCOMPARE(difference.isEqual(), LibraryComparison::folderSameMarks(first, second).all());
        }
    }

private:
    static QList<int> slotsOf(const FolderDifference &folder)
    {
        QList<int> numbers;
        for (const VisualDifference &visual : folder.visuals)
            numbers.append(visual.slot);
        return numbers;
    }
};

QTEST_APPLESS_MAIN(tst_LibraryDifference)
#include "tst_LibraryDifference.moc"
