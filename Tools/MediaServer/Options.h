// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Refusals.h"
#include "MediaServer/SlotId.h"

#include <QSize>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

/// What refuses a request without looking at it, as a server with a bad day does.
struct Faults
{
    /// Requests that are refused, and how.
    Refusals::Codes refuse;
    /// The text that goes with a refusal of code 3.
    QString refuseText;
    /// Transfers into these slots fail while they are imported.
    std::set<SlotId> failImport;
    /// Thumbnails of these slots end in an error.
    std::set<SlotId> failThumbnail;
    /// How long the thumbnails of single slots take, and how long all others.
    std::map<SlotId, std::chrono::milliseconds> thumbnailDelays;
    std::chrono::milliseconds thumbnailDelay{0};
    /// Commands are taken and never answered.
    bool stall = false;
    /// The library document breaks off in the middle.
    bool badJson = false;
    /// Only folders with visuals are listed, so that a folder's position is not its slot.
    bool sparse = false;
    /// The mask is announced with its first octet first.
    bool maskInNetworkOrder = false;
    /// Each notification stream is cut off after this time.
    std::optional<std::chrono::milliseconds> dropStreamAfter;
    /// The process dies at once when this many bytes of media have passed. 0: never.
    qint64 dieAfterBytes = 0;
};

/// What `--generate` draws.
struct GeneratedLibrary
{
    quint32 seed = 0;
    int folders = 6;
    int visuals = 10;
    QSize pictureSize = {480, 270};
    int clipBytes = 256 * 1024;
};

/// The command line of one server. Defaults make a well-behaved server on the loopback network.
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
    std::chrono::milliseconds frameRateInterval{1000};
    /// Media bytes a second, for all transfers together. 0: as fast as it goes.
    qint64 bandwidth = 0;
    std::chrono::milliseconds importDelay{0};
    /// For how long after a sync command the last running transfer is not reported as ended.
    std::chrono::milliseconds burstGrace{500};
    int workers = 4;
    /// A sync is reported as done without any file being copied.
    bool answerOnly = false;
    QString logFile;
    std::string versionHeader = "281474976710656";
    std::string features = "1";
    Faults faults;

    /// Reads a command line, the program's name in front. "--help" ends the
    /// process. On failure `error` says which value is wrong, and there is no result.
    [[nodiscard]] static std::optional<Options> parse(const QStringList &arguments, QString &error);
};
