// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

namespace PortUsers {

/// The programs that have this UDP port of IPv4 open, such as "brenvoka (process 4711)", as far as
/// the system shows them. A program of another user is "another program".
[[nodiscard]] QStringList ofUdp(quint16 port);

} // namespace PortUsers
