// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/NotificationHub.h"
#include "MediaServer/TransferInfo.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

/// The running transfers, what the streams are told of them, and the queue that workers take from.
///
/// A client takes the moment in which its table of transfers runs empty for the end of the whole
/// synchronisation. So the end of the last running transfer is held back until no further command
/// has come for a while: as long as commands of one burst arrive, the table is never empty.
///
/// One mutex guards the table. Messages are published while it is held, so that every stream sees
/// them in the order of the changes, and a new stream gets a table that fits what follows. It is
/// taken before the hub's mutex, never after.
class TransferTable
{
public:
    /// One transfer in the hands of a worker.
    struct Transfer
    {
        TransferInfo info;
        /// Ends the copying at once; empty while there is nothing to end.
        std::function<void()> interrupt;
    };
    using TransferPointer = std::shared_ptr<Transfer>;

    enum class Added {
        Started,        ///< streams know of it, a worker will take it
        AlreadyRunning, ///< the same transfer is under way: repeating a command does no harm
        SlotInUse,      ///< another transfer into this slot is under way
    };

    TransferTable(NotificationHub &streams, std::chrono::milliseconds grace);

    /// A new stream, which begins with the transfers that run at this moment.
    [[nodiscard]] NotificationHub::Subscription subscribe();

    Added add(SlotId target, const QString &source);

    /// Ends what is queued, interrupts what is being copied, leaves alone what is being imported.
    void cancelAll();

    [[nodiscard]] bool usesSlot(SlotId slot) const;
    [[nodiscard]] bool usesFolder(int folder) const;
    [[nodiscard]] bool isQuiet() const;

    /// For workers: waits for the next transfer, which is in state `Transferring` from then on.
    /// Null when the table has been closed.
    [[nodiscard]] TransferPointer takeNext();

    /// How to end the copying from outside. False when it has been canceled already.
    [[nodiscard]] bool setInterrupt(Transfer &transfer, std::function<void()> interrupt);
    [[nodiscard]] bool isCanceled(const Transfer &transfer) const;

    void report(const Transfer &transfer, int percent, int bytesPerSecond);

    /// From copying to importing, from where there is no way back. False when it was canceled.
    [[nodiscard]] bool beginImport(Transfer &transfer);

    /// The transfer has ended: finished, canceled, or failed in one of the other states.
    void finish(Transfer &transfer, TransferState state, const QString &error);

    /// Cancels everything and sends the workers home.
    void close();

private:
    using Clock = std::chrono::steady_clock;

    void end(const TransferInfo &transfer, const QString &error);
    void releaseHeld();
    void cancelAllLocked();

    NotificationHub &hub;
    const std::chrono::milliseconds burstGrace;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<SlotId, TransferPointer> running;
    std::deque<TransferPointer> queue;
    /// The last transfer of a burst: ended, but not yet reported.
    struct Held
    {
        TransferInfo transfer;
        QString error;
    };
    std::optional<Held> held;
    Clock::time_point burstEnds;
    bool closed = false;
};
