// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

/// One instance of the program per machine, whoever starts it.
namespace SingleInstance {

/// Takes the machine-wide name and keeps it until the process ends, however it ends: nothing is
/// left behind that a later start could stumble over. Returns false if another process holds the
/// name. If the name cannot be taken for any other reason, the program runs unprotected and the
/// result is true. Needs no Qt object.
[[nodiscard]] bool acquire();

} // namespace SingleInstance
