// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QMetaType>

/// The enumerations of the protocol. Their numbers are what servers send and expect.
namespace Brenvoka {

/// The state of one visual in a synchronisation, and the value of "STATUS" on the wire. A server
/// may send any number: a value outside the enumerators is kept unchanged.
enum SyncStates : int {
    SyncQueued = 0,       ///< waiting on the destination server
    SyncTransferring = 1, ///< the file is being copied
    SyncImporting = 2,    ///< the destination server is importing the copied file
    SyncFailed = 3,       ///< ended with an error
    SyncCanceling = 4,    ///< a cancel was requested
    SyncCanceled = 5,     ///< the cancel is done
    SyncFinished = 6,     ///< done
};

/// Why a notification stream ended.
enum ServerDisconnectReason : int {
    DisconnectNone = 0,           ///< it ended without a message and without an error
    DisconnectServerShutdown = 1, ///< the server announced its shutdown
    DisconnectOtherClient = 2,    ///< required, though nothing assigns it
    DisconnectNetworkError = 3,   ///< the reply ended with a network error
};

} // namespace Brenvoka

Q_DECLARE_METATYPE(Brenvoka::SyncStates)
Q_DECLARE_METATYPE(Brenvoka::ServerDisconnectReason)
