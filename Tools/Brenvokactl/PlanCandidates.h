// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QList>

struct CommandLine;
struct Server;

/// The slots that the window would compare for the selection of a command line, each once. The
/// selected folders come first; without a selection it is the whole library.
[[nodiscard]] QList<VisualRef> planCandidates(const CommandLine &line, const Server &source);
