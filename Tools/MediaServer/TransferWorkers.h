// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"
#include "MediaServer/MediaLink.h"
#include "MediaServer/Options.h"
#include "MediaServer/TransferTable.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

class FileFetcher;

/// The workers that carry out transfers: each takes one from the table, fetches the file into the
/// library's incoming directory, imports it and reports. A canceled or failed transfer leaves no
/// file behind and the slot as it was. Everything that is shared lives in the table, the library
/// and the link, each with its own lock; the mutex here only lets an import's waiting end early.
class TransferWorkers
{
public:
    struct Settings
    {
        int workers = 4;
        bool answerOnly = false;
        std::chrono::milliseconds importDelay{0};
        std::set<SlotId> failImport;
    };

    TransferWorkers(TransferTable &transferTable, Library &storage, MediaLink &mediaLink,
                    Settings how);
    /// Cancels what runs and waits for the workers.
    ~TransferWorkers();

    TransferWorkers(const TransferWorkers &) = delete;
    TransferWorkers &operator=(const TransferWorkers &) = delete;

private:
    struct Outcome
    {
        TransferState state;
        QString error;
    };

    void work();
    void carryOut(TransferTable::Transfer &transfer, FileFetcher &fetcher);
    [[nodiscard]] Outcome copy(TransferTable::Transfer &transfer, FileFetcher &fetcher,
                               const QString &path);
    [[nodiscard]] Outcome import(SlotId target, const StoredVisual &visual, const QString &path);
    void waitForImport();

    TransferTable &table;
    Library &library;
    MediaLink &link;
    const Settings settings;
    std::mutex mutex;
    std::condition_variable closing;
    bool closed = false;
    std::vector<std::thread> threads;
};
