// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/Libraries.h"
#include "Support/SyncRig.h"

#include <QElapsedTimer>

using namespace Libraries;
using namespace Qt::Literals::StringLiterals;

/// How long the window stands still when the largest synchronisation starts: 65,280 visuals are
/// queued, named and put into the table in one burst.
class tst_SyncTaskBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void startOfTheLargestTransfer();
    void resultsOfTheLargestRemoval();
};

void tst_SyncTaskBenchmark::startOfTheLargestTransfer()
{
    SyncRig rig(u"127.60.9.1"_s);
    QVERIFY(rig.connectDestination());
    rig.addServer(rig.sourceUuid, rig.sourceAddress, u"Stage left"_s, fullServer(u"a"_s).folders);
    QElapsedTimer timer;
    timer.start();
    rig.start({}, {}, allSlots());
    const qint64 started = timer.restart();
    QCoreApplication::processEvents();
    const qint64 drawn = timer.elapsed();
    QCOMPARE(rig.dialog<TransferDialog>()->rows.size(), std::size_t(65280));
    qInfo("65,280 transfers: started in %lld ms, drawn in %lld ms", started, drawn);
    QVERIFY(started + drawn < 10000);
}

void tst_SyncTaskBenchmark::resultsOfTheLargestRemoval()
{
    SyncRig rig(u"127.60.9.1"_s);
    const QList<VisualRef> refs = allSlots();
    rig.start({}, refs, {});
    QElapsedTimer timer;
    timer.start();
    for (const auto &[folderSlot, fileSlot] : refs)
        emit rig.service.visualRemoveFinished(rig.destinationUuid, folderSlot, fileSlot);
    qInfo("65,280 removal results taken in %lld ms", timer.elapsed());
    QCOMPARE(rig.finished->size(), 1);
}

QTEST_MAIN(tst_SyncTaskBenchmark)
#include "tst_SyncTaskBenchmark.moc"
