// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/LibraryCheck.h"

#include <chrono>

class QHostAddress;

namespace StreamCheck {

/// Opens the notification stream with the request of the window, reads it for this time and says
/// what arrived. Runs an event loop.
[[nodiscard]] Finding run(const QHostAddress &address, std::chrono::milliseconds time);

} // namespace StreamCheck
