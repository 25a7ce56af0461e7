// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

class QFile;
class QHttpMultiPart;

/// The multipart form that carries one file to a slot of a server (RFC 7578).
namespace UploadForm {

/// The form owns the open file and reads it from disk as it is sent. In the file's name, quotation
/// marks and line breaks are percent-encoded; everything else is sent as UTF-8.
[[nodiscard]] std::unique_ptr<QHttpMultiPart> create(int folderSlot, int fileSlot,
                                                     std::unique_ptr<QFile> file);

} // namespace UploadForm
