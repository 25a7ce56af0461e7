// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/CommandHandler.h"
#include "MediaServer/ImportDelay.h"
#include "MediaServer/MediaLink.h"

#include <httplib.h>

/// Receives uploads: the file is written to disk as it arrives and moved into its slot when the
/// form is complete. The body is read completely even when the upload is refused, since clients
/// read the response only after that. If the body cannot be read, the connection is closed.
class UploadHandler
{
public:
    UploadHandler(Library &storage, TransferTable &transferTable, MediaLink &mediaLink,
                  ImportDelay &sharedDelay);

    /// Reads the form. `fields` gets its small fields, the file's name as "visualFile" and the
    /// file's length as "bytes".
    [[nodiscard]] CommandResult receive(const httplib::Request &request,
                                        const httplib::ContentReader &reader, FormFields &fields);

    /// Reads the body and ignores it.
    static void discardBody(const httplib::Request &request, const httplib::ContentReader &reader);

private:
    [[nodiscard]] CommandResult store(const FormFields &fields, const QString &hash,
                                      const QString &path);

    Library &library;
    TransferTable &transfers;
    MediaLink &link;
    ImportDelay &importDelay;
};
