// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/ProtocolInfo.h"

class QByteArray;

/// What a reply with a library document must be for the library to be accepted. The document itself
/// is read by `jsonObjectFromBody` and `Server::fromJson`.
namespace LibraryReply {

/// The longest body in bytes.
inline constexpr qint64 maximumSize = 256 << 20;

/// Reads the headers X-BVProtocolVersion and X-BVFeatureList. A version that is not a number is 0.
/// Throws std::invalid_argument if the feature list is malformed.
[[nodiscard]] ProtocolInfo protocolInfo(const QByteArray &version, const QByteArray &features);

/// Whether this version is accepted: every one but 0.
[[nodiscard]] bool isSupported(const ProtocolInfo &info);

} // namespace LibraryReply
