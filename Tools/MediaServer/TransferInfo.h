// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/SlotId.h"

#include <QString>
#include <QUuid>

#include <string>

/// State of a transfer. The values are those of the protocol.
enum class TransferState {
    Queued = 0,
    Transferring = 1,
    Importing = 2,
    Failed = 3,
    Canceling = 4,
    Canceled = 5,
    Finished = 6,
};

/// What is reported of a transfer on the streams.
struct TransferInfo
{
    QUuid id;
    TransferState state = TransferState::Queued;
    SlotId target;
    /// URL of the server that the file comes from.
    QString source;
};
