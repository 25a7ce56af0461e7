// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>

class QByteArray;

/// The JSON object in the body of a reply. The text ends at the first NUL byte, and what is not
/// valid UTF-8 is replaced before parsing. A body that is no JSON object gives an empty one.
[[nodiscard]] QJsonObject jsonObjectFromBody(const QByteArray &body);
