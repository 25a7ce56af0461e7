// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/Expected.h"
#include "Model/Server.h"

#include <QDateTime>
#include <QHostAddress>

#include <chrono>

class QJsonObject;

/// A library and where it is from.
struct LibrarySource
{
    QString source; ///< the argument: an address or a file
    QString address;
    QDateTime time; ///< of a snapshot; otherwise invalid
    Server server;

    /// From an IPv4 address by a download, from anything else as a snapshot file.
    [[nodiscard]] static Expected<LibrarySource> get(const QString &argument,
                                                     std::chrono::milliseconds timeout);

    /// "127.0.0.2: 8 folders, 112 visuals".
    [[nodiscard]] QString summary() const;
    [[nodiscard]] QJsonObject toJson() const;

private:
    [[nodiscard]] qsizetype visualCount() const;
};

/// The address, null unless the text is four numbers with dots that are one. Numbers with leading
/// zeros are refused: some programs read them as octal, people as decimal.
[[nodiscard]] QHostAddress ipv4Address(const QString &text);
