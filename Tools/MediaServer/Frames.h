// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/TransferInfo.h"

#include <string>
#include <vector>

/// The messages of the notification stream, each with its terminating NUL. Percentages are from 0
/// to 100, frame rates are in frames per second.
namespace Frames {

[[nodiscard]] std::string runningTransfers(const std::vector<TransferInfo> &transfers);
[[nodiscard]] std::string transferStarted(const TransferInfo &transfer);
[[nodiscard]] std::string transferProgress(const TransferInfo &transfer, int percent,
                                           int bytesPerSecond);
[[nodiscard]] std::string transferEnded(const TransferInfo &transfer, const QString &error);
[[nodiscard]] std::string shuttingDown();
[[nodiscard]] std::string frameRates(double graph, double total, double monitor, bool fullScreen);
[[nodiscard]] std::string libraryChanged();

} // namespace Frames
