// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/CommandHandler.h"
#include "MediaServer/ImportPause.h"
#include "MediaServer/MediaLink.h"

#include <httplib.h>

/// Takes uploads: the file goes to disk as it arrives, never into memory, and into its slot when
/// the form is complete. The body is read to its end even when the upload is refused early, since
/// the client listens for the answer only then; a body that cannot be read ends the connection.
class UploadHandler
{
public:
    UploadHandler(Library &storage, TransferTable &transferTable, MediaLink &mediaLink,
                  ImportPause &pauseOfImports);

    /// Reads the form. `fields` gets its small fields, the name of the file as "visualFile" and
    /// its length as "bytes".
    [[nodiscard]] CommandResult take(const httplib::Request &request,
                                     const httplib::ContentReader &reader, FormFields &fields);

    /// Reads whatever comes and keeps nothing of it.
    static void readToTheEnd(const httplib::Request &request, const httplib::ContentReader &reader);

private:
    [[nodiscard]] CommandResult store(const FormFields &fields, const QString &hash,
                                      const QString &path);

    Library &library;
    TransferTable &transfers;
    MediaLink &link;
    ImportPause &importPause;
};
