// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/Libraries.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// How long the operator waits for the marks, and for the warning after a click on a transfer
/// button, with two full libraries and nothing selected.
class tst_SyncPlanBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void indexAgainstLinearSearch_data();
    void indexAgainstLinearSearch();
    void marksAgainstLinearSearch();
};

void tst_SyncPlanBenchmark::indexAgainstLinearSearch_data()
{
    QTest::addColumn<Server>("source");
    QTest::addColumn<Server>("destination");
    const Server full = fullServer(u"a"_s);
    QTest::newRow("equal libraries") << full << full;
    QTest::newRow("every visual differs") << full << fullServer(u"b"_s);
    QTest::newRow("empty destination") << full << server({});
}

void tst_SyncPlanBenchmark::indexAgainstLinearSearch()
{
    QFETCH(const Server, source);
    QFETCH(const Server, destination);
    const QList<VisualRef> candidates = allSlots();

    LibraryComparison::SyncPlan plan;
    LibraryComparison::SyncPlan expected;
    const Comparison time =
        compare([&] { plan = LibraryComparison::planSync(source, destination, candidates); },
                [&] { expected = literalPlan(source, destination, candidates); }, 3);

    QCOMPARE(plan.transfers, expected.transfers);
    QCOMPARE(plan.removals, expected.removals);
    QCOMPARE(plan.renames, expected.renames);
    time.print("plan by index", "by linear search");
    QVERIFY(time.ratio() < 0.5);
}

void tst_SyncPlanBenchmark::marksAgainstLinearSearch()
{
    const Server source = fullServer(u"a"_s);
    const Server destination = fullServer(u"a"_s);
    const QList<VisualRef> candidates = allSlots();
    Marks marks;
    qsizetype equal = 0;
    const Comparison time = compare(
        [&] { marks = LibraryComparison::folderSameMarks(source, destination); },
        [&] {
            equal = std::ranges::count_if(candidates, [&](const VisualRef &slot) {
                return LibraryComparison::slotsEqual(source, destination, slot.first, slot.second);
            });
        },
        3);

    QVERIFY(marks.all());
    QCOMPARE(equal, candidates.size());
    time.print("marks of the folders", "slot by slot");
    QVERIFY(time.ratio() < 0.5);
}

QTEST_APPLESS_MAIN(tst_SyncPlanBenchmark)
#include "tst_SyncPlanBenchmark.moc"
