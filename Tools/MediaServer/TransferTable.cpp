// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/TransferTable.h"

#include "MediaServer/Frames.h"

#include <utility>

TransferTable::TransferTable(NotificationHub &streams, std::chrono::milliseconds grace)
    : hub(streams)
    , burstGrace(grace)
{
}

NotificationHub::Subscription TransferTable::subscribe()
{
    const std::lock_guard lock(mutex);
    std::vector<TransferInfo> transfers;
    transfers.reserve(running.size() + 1);
    for (const auto &[slot, transfer] : running)
        transfers.push_back(transfer->info);
    if (deferred)
        transfers.push_back(deferred->transfer);
    return hub.subscribe(Frames::runningTransfers(transfers));
}

TransferTable::AddResult TransferTable::add(SlotId target, const QString &source)
{
    const std::lock_guard lock(mutex);
    burstEnds = Clock::now() + burstGrace;
    if (const auto found = running.find(target); found != running.end()) {
        const TransferInfo &info = found->second->info;
        const bool same = info.source == source && info.state != TransferState::Canceling;
        return same ? AddResult::AlreadyRunning : AddResult::SlotInUse;
    }
    auto transfer = std::make_shared<Transfer>();
    transfer->info = {QUuid::createUuid(), TransferState::Queued, target, source};
    running.emplace(target, transfer);
    queue.push_back(transfer);
    hub.publish(Frames::transferStarted(transfer->info));
    reportDeferredEnd();
    changed.notify_one();
    return AddResult::Started;
}

void TransferTable::cancelAll()
{
    const std::lock_guard lock(mutex);
    cancelAllLocked();
}

bool TransferTable::usesSlot(SlotId slot) const
{
    const std::lock_guard lock(mutex);
    return running.contains(slot);
}

bool TransferTable::usesFolder(int folder) const
{
    const std::lock_guard lock(mutex);
    const auto first = running.lower_bound({folder, 0});
    return first != running.end() && first->first.folder == folder;
}

bool TransferTable::isQuiet() const
{
    const std::lock_guard lock(mutex);
    return running.empty() && !deferred;
}

TransferTable::TransferPointer TransferTable::takeNext()
{
    std::unique_lock lock(mutex);
    while (!closed) {
        if (!queue.empty()) {
            TransferPointer transfer = std::move(queue.front());
            queue.pop_front();
            transfer->info.state = TransferState::Transferring;
            return transfer;
        }
        if (!deferred)
            changed.wait(lock);
        else if (changed.wait_until(lock, burstEnds); Clock::now() >= burstEnds)
            reportDeferredEnd();
    }
    return {};
}

bool TransferTable::setInterrupt(Transfer &transfer, std::function<void()> interrupt)
{
    const std::lock_guard lock(mutex);
    transfer.interrupt = std::move(interrupt);
    return transfer.info.state != TransferState::Canceling;
}

bool TransferTable::isCanceled(const Transfer &transfer) const
{
    const std::lock_guard lock(mutex);
    return transfer.info.state == TransferState::Canceling;
}

void TransferTable::report(const Transfer &transfer, int percent, int bytesPerSecond)
{
    const std::lock_guard lock(mutex);
    hub.publish(Frames::transferProgress(transfer.info, percent, bytesPerSecond));
}

bool TransferTable::beginImport(Transfer &transfer)
{
    const std::lock_guard lock(mutex);
    transfer.interrupt = nullptr;
    if (transfer.info.state == TransferState::Canceling)
        return false;
    transfer.info.state = TransferState::Importing;
    hub.publish(Frames::transferProgress(transfer.info, 100, 0));
    return true;
}

void TransferTable::finish(Transfer &transfer, TransferState state, const QString &error)
{
    const std::lock_guard lock(mutex);
    transfer.interrupt = nullptr;
    transfer.info.state = state;
    const TransferInfo info = transfer.info;
    running.erase(info.target);
    end(info, error);
}

void TransferTable::close()
{
    const std::lock_guard lock(mutex);
    cancelAllLocked();
    closed = true;
    changed.notify_all();
}

/// Reports the end of a transfer that has been removed, or defers the report.
void TransferTable::end(const TransferInfo &transfer, const QString &error)
{
    if (running.empty() && Clock::now() < burstEnds) {
        deferred = DeferredEnd{transfer, error};
        changed.notify_all();
        return;
    }
    hub.publish(Frames::transferEnded(transfer, error));
}

void TransferTable::reportDeferredEnd()
{
    if (!deferred)
        return;
    hub.publish(Frames::transferEnded(deferred->transfer, deferred->error));
    deferred.reset();
}

void TransferTable::cancelAllLocked()
{
    for (const auto &[slot, transfer] : running) {
        if (transfer->info.state == TransferState::Transferring) {
            transfer->info.state = TransferState::Canceling;
            if (transfer->interrupt)
                transfer->interrupt();
        }
    }
    for (const TransferPointer &transfer : std::exchange(queue, {})) {
        TransferInfo info = transfer->info;
        info.state = TransferState::Canceled;
        running.erase(info.target);
        end(info, {});
    }
}
