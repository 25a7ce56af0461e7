// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

/// What the program needs of its process.
namespace ProcessSetup {

/// Call first in `main`, before any thread exists and any file is open. On Unix:
/// - The soft limit of open files becomes the hard one: every server costs a thread and several
///   descriptors, and Qt ends the program when a thread cannot have its own.
/// - Closed standard streams are replaced by the null device.
/// - SIGPIPE is ignored, so that a reader or peer that goes away is an error of the call.
/// - Qt's messages go to standard error in Qt's own form, but only if that needs no waiting.
///
/// Programs started later would inherit the limit and the ignored signal; this one starts none.
/// Under Windows nothing is needed.
void prepare();

} // namespace ProcessSetup
