// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/ImportDelay.h"
#include "MediaServer/Library.h"
#include "MediaServer/MediaLink.h"
#include "MediaServer/Options.h"
#include "MediaServer/TransferTable.h"

#include <thread>
#include <vector>

class FileFetcher;

/// The worker threads: each takes a transfer from the table, fetches the file into the library's
/// incoming directory, imports it and reports the result. A canceled or failed transfer leaves no
/// file and does not change the slot. The shared objects are thread-safe.
class TransferWorkers
{
public:
    struct Settings
    {
        int workers = 4;
        bool answerOnly = false;
        std::set<SlotId> failImport;
    };

    TransferWorkers(TransferTable &transferTable, Library &storage, MediaLink &mediaLink,
                    ImportDelay &sharedDelay, Settings workerSettings);
    /// Cancels the running transfers and waits for the workers.
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

    TransferTable &table;
    Library &library;
    MediaLink &link;
    ImportDelay &importDelay;
    const Settings settings;
    std::vector<std::thread> threads;
};
