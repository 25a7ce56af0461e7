// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>

class QByteArray;

/// The JSON object in the body of a reply. The text ends at the first NUL byte. Invalid UTF-8 is
/// replaced before parsing. A body that is not a JSON object gives an empty object.
[[nodiscard]] QJsonObject jsonObjectFromBody(const QByteArray &body);
