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

    /// Sets the state of every row and scrolls to each row if `autoScroll` is true.
    void setStates(const QString &state, bool autoScroll)
    {
        for (int row = 0; row < rowCount(); ++row) {
            item(row, 1)->setText(state);
            if (autoScroll)
                scrollToItem(item(row, 1), QAbstractItemView::EnsureVisible);
        }
        QCoreApplication::processEvents();
    }
};

} // namespace

/// How long the largest synchronisation blocks the window: 65,280 visuals are queued and inserted
/// into the table at once, and a server may report all of them in one message.
class tst_SyncTaskBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void startOfTheLargestTransfer();
    void progressOfTheLargestTransfer_data();
    void progressOfTheLargestTransfer();
    void resultsOfTheLargestRemoval();

private:
    static void startLargestTransfer(SyncTaskFixture &fixture);
};

void tst_SyncTaskBenchmark::startLargestTransfer(SyncTaskFixture &fixture)
{
    fixture.addServer(fixture.sourceUuid, fixture.sourceAddress, u"Stage left"_s,
                      fullServer(u"a"_s).folders);
    fixture.start({}, {}, allSlots());
    QCoreApplication::processEvents();
}

void tst_SyncTaskBenchmark::startOfTheLargestTransfer()
{
    SyncTaskFixture fixture(loopback(1));
    QVERIFY(fixture.connectDestination());
    startLargestTransfer(fixture);
    const QStringList labels = SyncTaskFixture::transferTexts(0);
    const Comparison time = compare(
        [&] {
            fixture.start({}, {}, allSlots());
            QCoreApplication::processEvents();
        },
        [&] { PlainTable().fill(labels); }, 3);
    QCOMPARE(SyncTaskFixture::dialog<TransferDialog>()->rows.size(), std::size_t(65280));
    time.print("start of 65,280 transfers", "a QTableWidget with the same rows");
    QVERIFY(time.ratio() < 15);
}

void tst_SyncTaskBenchmark::progressOfTheLargestTransfer_data()
{
    QTest::addColumn<bool>("autoScroll");
    QTest::newRow("without scrolling") << false;
    QTest::newRow("with automatic scrolling") << true;
}

void tst_SyncTaskBenchmark::progressOfTheLargestTransfer()
{
    QFETCH(const bool, autoScroll);
    SyncTaskFixture fixture(loopback(1));
    QVERIFY(fixture.connectDestination());
    startLargestTransfer(fixture);
    PlainTable plain;
    plain.fill(SyncTaskFixture::transferTexts(0));
    auto *const scroll = SyncTaskFixture::dialog<TransferDialog>()->findChild<QCheckBox *>();
    scroll->setChecked(autoScroll);
    const QList<VisualRef> refs = allSlots();
    int percent = 0;
    const Comparison time = compare(
        [&] {
            for (const auto &[folderSlot, fileSlot] : refs)
                emit fixture.service.syncProgressUpdate(fixture.destinationUuid, folderSlot,
                                                        fileSlot, percent,
                                                        Brenvoka::SyncTransferring);
            QCoreApplication::processEvents();
        },
        [&] { plain.setStates(u"%1%"_s.arg(++percent), autoScroll); }, 3);
    QCOMPARE(SyncTaskFixture::transferTexts(1).last(), u"%1%"_s.arg(percent));
    time.print("progress of 65,280 transfers", "a QTableWidget with the same texts");
    QVERIFY(time.ratio() < 10);
}

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
    const QList<VisualRef> refs = allSlots();
    const QList<VisualRef> tenth = refs.first(refs.size() / 10);
    const Comparison time = compare([&] { removalOf(refs); }, [&] { removalOf(tenth); });
    time.print("65,280 removals and their results", "6,528 removals");
    QVERIFY(time.ratio() < 30);
}

QTEST_MAIN(tst_SyncTaskBenchmark)
#include "tst_SyncTaskBenchmark.moc"
