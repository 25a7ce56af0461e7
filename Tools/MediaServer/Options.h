// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Refusals.h"
#include "MediaServer/SlotId.h"

#include <QSize>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QUuid>

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

/// The faults that a server simulates.
struct Faults
{
    /// Requests that are refused, and the result codes.
    Refusals::Codes refuse;
    /// The error text of refusals with code 3.
    QString refuseText;
    /// Transfers into these slots fail while they are imported.
    std::set<SlotId> failImport;
    /// Requests for thumbnails of these slots fail.
    std::set<SlotId> failThumbnail;
    /// How long the thumbnails of these slots take, and how long all others.
    std::map<SlotId, std::chrono::milliseconds> thumbnailDelays;
    std::chrono::milliseconds thumbnailDelay{0};
    /// Commands are accepted, but not executed or answered.
    bool stall = false;
    /// The library document is cut in the middle.
    bool badJson = false;
    /// Only folders with visuals are listed, so that a folder's position is not its slot.
    bool sparse = false;
    /// The mask is announced with its first octet first.
    bool maskInNetworkOrder = false;
    /// Each notification stream is cut off after this time.
    std::optional<std::chrono::milliseconds> dropStreamAfter;
    /// The process exits at once after this many bytes of media. 0: never.
    qint64 dieAfterBytes = 0;
};

/// What `--generate` draws.
struct GeneratedLibrary
{
    quint32 seed = 0;
    int folders = 6;
    int visuals = 10;
    int clipBytes = 256 * 1024;
};

/// The command line of one server. The defaults give a server without faults on the loopback
/// network.
struct Options
{
    std::string address = "127.0.0.1";
    QString name;
    QString libraryDirectory;
    QUuid uuid;
    quint32 mask = 0xff000000;
    std::string announceTo = "127.255.255.255";
    std::chrono::milliseconds announceInterval{1000};
    bool announce = true;
    std::optional<GeneratedLibrary> generate;
    /// The library document whose layout fills an empty library. Empty: none.
    QUrl fromLibrary;
    /// The size of drawn pictures.
    QSize pictureSize = {480, 270};
    std::chrono::milliseconds frameRateInterval{1000};
    /// Media bytes per second, for all transfers together. 0: no limit.
    qint64 bandwidth = 0;
    std::chrono::milliseconds importDelay{0};
    /// How long after a sync command the end of the last running transfer is not reported.
    std::chrono::milliseconds burstGrace{500};
    int workers = 4;
    /// Syncs are reported as finished without copying files.
    bool answerOnly = false;
    QString logFile;
    std::string versionHeader = "281474976710656";
    std::string features = "1";
    Faults faults;

    /// Parses a command line, whose first argument is the program's name. "--help" exits. On
    /// failure there is no result, and `error` names the invalid value.
    [[nodiscard]] static std::optional<Options> parse(const QStringList &arguments, QString &error);
};
