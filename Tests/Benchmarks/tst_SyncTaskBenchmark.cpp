// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/Libraries.h"
#include "Support/SyncTaskFixture.h"

#include <QCheckBox>
#include <QHeaderView>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A QTableWidget with the same rows.
class PlainTable final : public QTableWidget
{
public:
    PlainTable()
        : QTableWidget(0, 2)
    {
        horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
        resize(630, 420);
    }

    void fill(const QStringList &labels)
    {
        for (const QString &label : labels) {
            const int row = rowCount();
            insertRow(row);
            setItem(row, 0, new QTableWidgetItem(label));
            setItem(row, 1, new QTableWidgetItem(u"queued..."_s));
        }
        show();
        QCoreApplication::processEvents();
    }

    /// Sets the state of every row.
    void setStates(const QString &state)
    {
        for (int row = 0; row < rowCount(); ++row)
            item(row, 1)->setText(state);
        QCoreApplication::processEvents();
    }
};

/// The slots of a full library, or of a part of one.
QList<VisualRef> slotsOf(int part)
{
    return allSlots().first(255 * 256 / part);
}

/// A source with a full library, a connected destination, and a table with the same rows as that of
/// the synchronisation.
class Transfers final
{
public:
    explicit Transfers(int part)
        : refs(slotsOf(part))
        , fixture(loopback(part))
        , libraries{server(fixture.sourceUuid, fullServer(u"a"_s).folders), server({})}
    {
        fixture.addServer(fixture.sourceUuid, fixture.sourceAddress, u"Stage left"_s,
                          libraries.first.folders);
        if (!fixture.connectDestination())
            qFatal("The destination is not connected");
        start();
        plain.fill(SyncTaskFixture::transferTexts(0));
        scroll = SyncTaskFixture::dialog<TransferDialog>()->findChild<QCheckBox *>();
    }

    /// From the answered warning to the window with all rows.
    void start()
    {
        const auto plan = LibraryComparison::planSync(libraries.first, libraries.second, refs);
        fixture.start({}, {}, plan.transfers);
        QCoreApplication::processEvents();
    }

    /// One message that reports all transfers.
    void report(int percent)
    {
        for (const auto &[folderSlot, fileSlot] : refs)
            emit fixture.service.syncProgressUpdate(fixture.destinationUuid, folderSlot, fileSlot,
                                                    percent, Brenvoka::SyncTransferring);
        QCoreApplication::processEvents();
    }

    const QList<VisualRef> refs;
    SyncTaskFixture fixture;
    const std::pair<Server, Server> libraries;
    PlainTable plain;
    QCheckBox *scroll = nullptr;
};

} // namespace

/// How long the largest synchronisation blocks the window: 65,280 visuals are queued and inserted
/// into the table at once, and a server may report all of them in one message.
class tst_SyncTaskBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void startOfTheLargestTransfer()
    {
        const QStringList labels = labelsOf(1);
        const QStringList fewLabels = labels.first(labels.size() / Comparison::small);
        compareSizes(
            [](int part) {
                Transfers transfers(part);
                transfers.fixture.task.reset();
                return processorTime([&] { transfers.start(); });
            },
            [&](int part) {
                PlainTable table;
                return processorTime([&] { table.fill(part == 1 ? labels : fewLabels); });
            })
            .print({"start of the largest sync, answered warning to window with all rows",
                    "a bare `QTableWidget` filled with the same rows", 2, 1.3});
    }

    void progressOfTheLargestTransfer()
    {
        Comparison plain;
        Comparison scrolling;
        for (int run = 0; run < 7; ++run)
            addProgress(plain, scrolling);
        plain.print(
            {"one message about 65,280 transfers", "the same texts set in a bare table", 1.5, 1.2});
        scrolling.print({"the same with \"Auto Scroll\"", "the row above without it", 2, 1.2});
    }

    void resultsOfTheLargestRemoval();

private:
    static QStringList labelsOf(int part)
    {
        const Transfers transfers(part);
        return SyncTaskFixture::transferTexts(0);
    }

    struct Costs
    {
        double bare;
        double without;
        double with;
    };
    static Costs progressCosts(int part)
    {
        Transfers transfers(part);
        Costs costs{};
        // All but the first message change texts that are no longer "queued...".
        transfers.plain.setStates(u"0%"_s);
        transfers.report(0);
        costs.bare = processorTime([&] { transfers.plain.setStates(u"1%"_s); });
        costs.without = processorTime([&] { transfers.report(1); });
        transfers.report(2);
        transfers.scroll->setChecked(true);
        costs.with = processorTime([&] { transfers.report(3); });
        if (SyncTaskFixture::transferTexts(1).last() != u"3%"_s)
            qFatal("The progress is not shown");
        return costs;
    }
    static void addProgress(Comparison &plain, Comparison &scrolling)
    {
        const Costs large = progressCosts(1);
        plain.add(large.without, large.bare);
        scrolling.add(large.with, large.without);
        const Costs little = progressCosts(Comparison::small);
        plain.addSmall(little.without, little.bare);
        scrolling.addSmall(little.with, little.without);
    }
};

void tst_SyncTaskBenchmark::resultsOfTheLargestRemoval()
{
    const auto removalOf = [](const QList<VisualRef> &refs) {
        SyncTaskFixture fixture(loopback(1));
        fixture.start({}, refs, {});
        for (const auto &[folderSlot, fileSlot] : refs)
            emit fixture.service.visualRemoveFinished(fixture.destinationUuid, folderSlot,
                                                      fileSlot);
        QCOMPARE(fixture.finished->size(), 1);
    };
    const QList<VisualRef> refs = slotsOf(1);
    const QList<VisualRef> tenth = refs.first(refs.size() / 10);
    compareCosts([&] { return processorTime([&] { removalOf(refs); }); },
                 [&] { return processorTime([&] { removalOf(tenth); }); })
        .print({"results of 65,280 removals", "of 6,528 removals", 13, 11});
}

QTEST_MAIN(tst_SyncTaskBenchmark)
#include "tst_SyncTaskBenchmark.moc"
