// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/TransferWorkers.h"

#include "MediaServer/FileFetcher.h"

#include <QFile>

#include <algorithm>
#include <limits>

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Reports the progress of one download, at most ten times per second.
class ProgressReporter
{
public:
    ProgressReporter(TransferTable &transferTable, const TransferTable::Transfer &running)
        : table(transferTable)
        , transfer(running)
    {
        table.report(transfer, 0, 0);
    }

    void report(qint64 received, qint64 total)
    {
        const auto now = std::chrono::steady_clock::now();
        if (total <= 0 || now - lastReport < 100ms)
            return;
        const std::chrono::duration<double> time = now - lastReport;
        const double speed = static_cast<double>(received - lastReceived) / time.count();
        table.report(transfer, static_cast<int>(100 * received / total),
                     static_cast<int>(std::min<double>(speed, std::numeric_limits<int>::max())));
        lastReport = now;
        lastReceived = received;
    }

private:
    TransferTable &table;
    const TransferTable::Transfer &transfer;
    std::chrono::steady_clock::time_point lastReport = std::chrono::steady_clock::now();
    qint64 lastReceived = 0;
};

} // namespace

TransferWorkers::TransferWorkers(TransferTable &transferTable, Library &storage,
                                 MediaLink &mediaLink, ImportDelay &sharedDelay,
                                 Settings workerSettings)
    : table(transferTable)
    , library(storage)
    , link(mediaLink)
    , importDelay(sharedDelay)
    , settings(std::move(workerSettings))
{
    for (int i = 0; i < settings.workers; ++i)
        threads.emplace_back([this] { work(); });
}

TransferWorkers::~TransferWorkers()
{
    table.close();
    importDelay.close();
    for (std::thread &thread : threads)
        thread.join();
}

void TransferWorkers::work()
{
    FileFetcher fetcher(link);
    while (const TransferTable::TransferPointer transfer = table.takeNext()) {
        if (settings.answerOnly)
            table.finish(*transfer, TransferState::Finished, {});
        else
            carryOut(*transfer, fetcher);
    }
}

void TransferWorkers::carryOut(TransferTable::Transfer &transfer, FileFetcher &fetcher)
{
    const QString path = library.newIncomingPath();
    const Outcome outcome = copy(transfer, fetcher, path);
    // Before the report, so that no file is left when a client knows of the end.
    QFile::remove(path);
    table.finish(transfer, outcome.state, outcome.error);
}

TransferWorkers::Outcome TransferWorkers::copy(TransferTable::Transfer &transfer,
                                               FileFetcher &fetcher, const QString &path)
{
    const SlotId target = transfer.info.target;
    const QString &source = transfer.info.source;
    if (!fetcher.connectTo(source))
        return {TransferState::Queued,
                u"There is no address http://HOST:PORT in \"%1\""_s.arg(source)};
    if (!table.setInterrupt(transfer, [&fetcher] { fetcher.stop(); }))
        return {TransferState::Canceled, {}};
    ProgressReporter reporter(table, transfer);
    const FileFetcher::Result result =
        fetcher.fetch(target, path, [&](qint64 received, qint64 total) {
            reporter.report(received, total);
            return !table.isCanceled(transfer);
        });
    if (table.isCanceled(transfer))
        return {TransferState::Canceled, {}};
    if (result.failure == FileFetcher::Failure::Network)
        return {TransferState::Transferring, result.error};
    if (result.failure == FileFetcher::Failure::Disk)
        return {TransferState::Failed, result.error};
    if (!table.beginImport(transfer))
        return {TransferState::Canceled, {}};
    return import(target, {Library::safeFileName(result.fileName), result.hash}, path);
}

TransferWorkers::Outcome TransferWorkers::import(SlotId target, const StoredVisual &visual,
                                                 const QString &path)
{
    (void)importDelay.wait(); // an import is completed even if the server ends
    if (settings.failImport.contains(target))
        return {TransferState::Importing, u"Import failure"_s};
    const QString error = library.store(target, visual, path);
    return {error.isEmpty() ? TransferState::Finished : TransferState::Failed, error};
}
