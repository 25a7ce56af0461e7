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

/// The running transfers and the queue of the workers. Reports all changes on the streams.
///
/// A client treats the synchronisation as finished as soon as its table of transfers is empty. So
/// the end of the last running transfer is not reported until no further command has arrived for a
/// while: the client's table is never empty while commands of one burst arrive.
///
/// One mutex guards the table. Messages are published while it is locked, so that every stream
/// gets them in the order of the changes, and the first message of a new stream matches the
/// following ones. It is locked before the hub's mutex, never after.
class TransferTable
{
public:
    /// One transfer, which a worker executes.
    struct Transfer
    {
        TransferInfo info;
        /// Stops the copying at once; empty while nothing is copied.
        std::function<void()> interrupt;
    };
    using TransferPointer = std::shared_ptr<Transfer>;

    enum class AddResult {
        Started,        ///< reported on the streams and queued
        AlreadyRunning, ///< the same transfer is running: the repeated command is ignored
        SlotInUse,      ///< another transfer into this slot is running
    };

    /// `grace` is how long after a command further commands of its burst are expected.
    TransferTable(NotificationHub &streams, std::chrono::milliseconds grace);

    /// Adds a stream, whose first message lists the running transfers.
    [[nodiscard]] NotificationHub::Subscription subscribe();

    AddResult add(SlotId target, const QString &source);

    /// Cancels queued transfers and interrupts copying ones. Imports are not canceled.
    void cancelAll();

    [[nodiscard]] bool usesSlot(SlotId slot) const;
    [[nodiscard]] bool usesFolder(int folder) const;
    [[nodiscard]] bool isQuiet() const;

    /// For workers: waits for the next transfer and sets its state to `Transferring`. Null when
    /// the table has been closed.
    [[nodiscard]] TransferPointer takeNext();

    /// Sets the function that stops the copying. False when the transfer has been canceled.
    [[nodiscard]] bool setInterrupt(Transfer &transfer, std::function<void()> interrupt);
    [[nodiscard]] bool isCanceled(const Transfer &transfer) const;

    /// Reports the progress of copying; `percent` is from 0 to 100.
    void report(const Transfer &transfer, int percent, int bytesPerSecond);

    /// Changes the state from copying to importing, which cannot be canceled. False when the
    /// transfer has been canceled.
    [[nodiscard]] bool beginImport(Transfer &transfer);

    /// Removes a transfer that has finished, was canceled, or failed in one of the other states.
    void finish(Transfer &transfer, TransferState state, const QString &error);

    /// Cancels all transfers and makes `takeNext` return null.
    void close();

private:
    using Clock = std::chrono::steady_clock;

    void end(const TransferInfo &transfer, const QString &error);
    void reportDeferredEnd();
    void cancelAllLocked();

    NotificationHub &hub;
    const std::chrono::milliseconds burstGrace;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<SlotId, TransferPointer> running;
    std::deque<TransferPointer> queue;
    /// The last transfer of a burst, which has ended but is not reported yet.
    struct DeferredEnd
    {
        TransferInfo transfer;
        QString error;
    };
    std::optional<DeferredEnd> deferred;
    Clock::time_point burstEnds;
    bool closed = false;
};
