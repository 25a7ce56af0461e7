// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/Libraries.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Libraries;
using namespace Qt::Literals::StringLiterals;

/// How long the operator waits for the warning after a click on a transfer button, with two full
/// libraries and nothing selected.
class tst_SyncPlanBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void indexAgainstLinearSearch_data();
    void indexAgainstLinearSearch();
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

    QElapsedTimer timer;
    timer.start();
    const LibraryComparison::SyncPlan plan =
        LibraryComparison::planSync(source, destination, candidates);
    const qint64 indexed = timer.nsecsElapsed();
    timer.start();
    const LibraryComparison::SyncPlan expected = literalPlan(source, destination, candidates);
    const qint64 linear = timer.nsecsElapsed();

    QCOMPARE(plan.transfers, expected.transfers);
    QCOMPARE(plan.removals, expected.removals);
    QCOMPARE(plan.renames, expected.renames);
    qInfo("%lld candidates: indexed %.1f ms, linear %.1f ms", qlonglong(candidates.size()),
          double(indexed) / 1e6, double(linear) / 1e6);
    QVERIFY(indexed < linear);
}

QTEST_APPLESS_MAIN(tst_SyncPlanBenchmark)
#include "tst_SyncPlanBenchmark.moc"
