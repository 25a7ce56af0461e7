// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

/// Standard streams that nobody may be reading. Free of Qt.
namespace StandardStreams {

inline constexpr int output = 1;
inline constexpr int error = 2;

/// Opens the null device for each of the three standard streams that is closed. Otherwise the next
/// file or socket would get that descriptor and receive what is written to the stream. Call before
/// anything is opened. Does nothing under Windows, where descriptors and handles are separate.
void replaceClosed();

/// Writes the text if that cannot block, otherwise drops it: the stream may be a pipe that nobody
/// reads or a stopped terminal. Nothing is kept for later. A pipe takes up to 4096 bytes whole or
/// not at all. The end of a longer text may be missing, and so may the end of any text when a
/// terminal's buffer is full. A file never blocks. The stream's mode is not changed, because other
/// processes may share it. Can be called from any thread.
void writeAtOnce(int stream, std::string_view text);

} // namespace StandardStreams
