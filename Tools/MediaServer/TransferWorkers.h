// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/ImportPause.h"
#include "MediaServer/Library.h"
#include "MediaServer/MediaLink.h"
#include "MediaServer/Options.h"
#include "MediaServer/TransferTable.h"

#include <thread>
#include <vector>

class FileFetcher;

/// The workers that carry out transfers: each takes one from the table, fetches the file into the
/// library's incoming directory, imports it and reports. A canceled or failed transfer leaves no
/// file behind and the slot as it was. Everything that is shared lives in the table, the library,
/// the link and the pause, each with its own lock.
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
                    ImportPause &pauseOfImports, Settings how);
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

    TransferTable &table;
    Library &library;
    MediaLink &link;
    ImportPause &importPause;
    const Settings settings;
    std::vector<std::thread> threads;
};
