// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

/// One instance of the program per machine, whoever starts it.
namespace SingleInstance {

/// Takes the machine-wide name until the process ends. Nothing is left behind, however it ends.
/// Returns false if another process has the name. If the name cannot be taken for any other reason,
/// returns true: the program then runs without this protection. Needs no Qt object.
[[nodiscard]] bool acquire();

} // namespace SingleInstance
