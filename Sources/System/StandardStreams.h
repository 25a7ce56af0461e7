// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

/// The standard streams of a program whose operator may read none of them. Without Qt.
namespace StandardStreams {

inline constexpr int output = 1;
inline constexpr int error = 2;

/// Opens the null device for each of the three standard streams that is closed. Otherwise the next
/// file or socket would become that stream and receive what is written to it. Call before anything
/// is opened. Does nothing under Windows, where descriptors and handles are separate.
void replaceClosed();

/// Writes the text if that needs no waiting, otherwise drops it: behind the stream may be a pipe
/// that nobody reads, or a terminal that is stopped. Nothing is kept for later. A pipe takes up to
/// 4096 bytes whole or not at all; of a longer text, and at a terminal that becomes full, the end
/// may be missing. A file counts as ready. The stream's mode, which other processes may share, is
/// left alone. May be called from any thread.
void writeAtOnce(int stream, std::string_view text);

} // namespace StandardStreams
