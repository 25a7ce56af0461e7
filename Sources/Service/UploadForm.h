// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QHttpMultiPart;

/// The multipart form that carries one file to a slot of a server (RFC 7578).
namespace UploadForm {

/// Null when the file can't be opened or is no regular file. The form owns the open file (see
/// UploadFile) and reads it from disk as it is sent. In the file's name, quotation marks and line
/// breaks are percent-encoded, all else goes as UTF-8. The caller owns the form.
[[nodiscard]] QHttpMultiPart *create(int folderSlot, int fileSlot, const QString &path);

} // namespace UploadForm
