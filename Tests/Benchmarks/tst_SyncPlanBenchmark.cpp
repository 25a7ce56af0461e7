// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/Libraries.h"

#include <QTest>

#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A library of so many folders, and its strings in one flat array in the order of the slots.
struct Library
{
    Library(const QString &content, int folderCount)
        : record(fullServer(content))
    {
        record.folders = record.folders.first(folderCount);
        for (const MediaFolder &folder : std::as_const(record.folders)) {
            for (int slot = 1; slot < 256; ++slot) {
                const Visual &visual = folder.files.at(folder.indexOfSlot(slot));
                strings.push_back({visual.hash, visual.name});
            }
        }
    }

    Server record;
    std::vector<std::pair<QString, QString>> strings;
};

/// Two libraries at both sizes, and the slots of the first.
struct Libraries
{
    Libraries(const QString &first, const QString &second, int part)
        : source(first, 256 / part)
        , destination(second, 256 / part)
        , candidates(allSlots().first(255 * 256 / part))
    {
    }

    Library source;
    Library destination;
    QList<VisualRef> candidates;
};

/// The fastest plan: the order of the strings is known.
QList<VisualRef> differingSlots(const Libraries &libraries)
{
    QList<VisualRef> different;
    for (std::size_t i = 0; i < libraries.source.strings.size(); ++i) {
        if (libraries.source.strings[i] != libraries.destination.strings[i])
            different.append(libraries.candidates.at(qsizetype(i)));
    }
    return different;
}

/// The processor time of a run that begins with other data in the caches, like after a click.
/// Otherwise it would find what the run before it has read, the more of it the smaller the
/// libraries.
template <typename Work>
double coldProcessorTime(Work work)
{
    static std::vector<char> other(std::size_t(64) << 20); // larger than the caches
    for (std::size_t i = 0; i < other.size(); i += 64)
        ++other[i];
    return processorTime(work);
}

} // namespace

/// How long the operator waits for the marks, and for the warning after a click on a transfer
/// button, with two full libraries and nothing selected.
class tst_SyncPlanBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void planOfDifferentLibraries()
    {
        const Libraries full(u"a"_s, u"b"_s, 1);
        const Libraries quarter(u"a"_s, u"b"_s, Comparison::small);
        LibraryComparison::SyncPlan plan;
        QList<VisualRef> expected;
        compareSizes(
            [&](int part) {
                const Libraries &both = part == 1 ? full : quarter;
                return coldProcessorTime([&] {
                    plan = LibraryComparison::planSync(both.source.record, both.destination.record,
                                                       both.candidates);
                });
            },
            [&](int part) {
                const Libraries &both = part == 1 ? full : quarter;
                return coldProcessorTime([&] { expected = differingSlots(both); });
            },
            31)
            .print({"plan of 65,280 candidates, all different",
                    "one linear pass over two flat arrays of the same strings", 2, 1.2});
        QCOMPARE(plan.transfers, expected);
        QCOMPARE(plan.renames.size(), 256 / Comparison::small);
    }

    void marksOfEqualLibraries()
    {
        const Libraries full(u"a"_s, u"a"_s, 1);
        const Libraries quarter(u"a"_s, u"a"_s, Comparison::small);
        Marks marks;
        QList<VisualRef> different;
        compareSizes(
            [&](int part) {
                const Libraries &both = part == 1 ? full : quarter;
                return coldProcessorTime([&] {
                    marks = LibraryComparison::folderSameMarks(both.source.record,
                                                               both.destination.record);
                });
            },
            [&](int part) {
                const Libraries &both = part == 1 ? full : quarter;
                return coldProcessorTime([&] { different = differingSlots(both); });
            },
            31)
            .print({"marks of the folders level",
                    "one linear pass over two flat arrays of the same strings", 2, 1.2});
        QVERIFY(marks.all());
        QVERIFY(different.isEmpty());
    }
};

QTEST_APPLESS_MAIN(tst_SyncPlanBenchmark)
#include "tst_SyncPlanBenchmark.moc"
