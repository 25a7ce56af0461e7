// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

/// Prepares the process for the program.
namespace ProcessSetup {

/// Call first in `main`, before any thread exists and any file is open. On Unix:
/// - The soft limit of open files is raised to the hard limit. Every server takes a thread and some
///   descriptors, and Qt aborts the program when a new thread gets no descriptor.
/// - Closed standard streams are replaced by the null device.
/// - SIGPIPE is ignored: writing to a closed pipe or socket fails instead of ending the program.
/// - Qt's messages are written to standard error in Qt's own format, but only if that cannot block.
///
/// Child processes would inherit the limit and the ignored signal. The program starts none.
/// Under Windows nothing is needed.
void prepare();

} // namespace ProcessSetup
