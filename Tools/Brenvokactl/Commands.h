// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/CommandLine.h"
#include "Brenvokactl/Expected.h"
#include "Brenvokactl/Result.h"

/// One function for each command; each has a file of its own. A failure means exit code 2 and that
/// nothing was written. They run event loops, so they need an application.
namespace Commands {

[[nodiscard]] Expected<Result> listen(const CommandLine &line);
[[nodiscard]] Expected<Result> check(const CommandLine &line);
[[nodiscard]] Expected<Result> compare(const CommandLine &line);
[[nodiscard]] Expected<Result> plan(const CommandLine &line);
[[nodiscard]] Expected<Result> save(const CommandLine &line);
[[nodiscard]] Expected<Result> report(const CommandLine &line);

/// Runs the program: parses the arguments, of which the first is its own name, runs the command and
/// writes the result. Returns the exit code.
[[nodiscard]] int run(const QStringList &words);

} // namespace Commands
