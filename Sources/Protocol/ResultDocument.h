// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// The body of the reply to a removal, a move, a rename or an upload: a JSON object with
/// "msg_type" 7 and the outcome under "RESULT".
namespace ResultDocument {

/// `success` becomes true for "RESULT" 0 alone. `message` becomes the operator's text, empty on
/// success; an unknown "RESULT" is a failure that leaves it as it was. Anything but a result
/// document is a failure with a text of its own.
void parse(const QByteArray &body, bool &success, QString &message);

} // namespace ResultDocument
