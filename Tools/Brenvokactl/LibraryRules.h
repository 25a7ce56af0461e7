// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/LibraryCheck.h"

/// The rules of the reader of library documents, `Server::fromJson`, with their places.
namespace LibraryRules {

/// "JSON" and "document" as passed, or one finding for each rule that the body breaks, up
/// to `Findings::most`.
[[nodiscard]] QList<Finding> findings(const QByteArray &body);

} // namespace LibraryRules
