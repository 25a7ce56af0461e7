// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/LogProbe.h"

#include <spdlog/logger.h>

namespace Zor {

void LogProbe::showLevels(Log &log)
{
    log.logger->set_pattern("[%l]%v");
}

} // namespace Zor
