// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Options.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <arpa/inet.h>

#include <limits>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

/// An invalid value of an option. Never leaves this file.
struct BadValue : std::runtime_error
{
    explicit BadValue(const QString &option, const QString &value)
        : std::runtime_error(u"--%1: invalid value \"%2\""_s.arg(option, value).toStdString())
    {
    }
};

const QList<QCommandLineOption> &definitions()
{
    static const QList<QCommandLineOption> list = {
        {u"address"_s, u"IPv4 address to listen on, port 4567."_s, u"address"_s, u"127.0.0.1"_s},
        {u"name"_s, u"Announced name (default: the address)."_s, u"name"_s},
        {u"library"_s, u"Directory of the library (required)."_s, u"directory"_s},
        {u"uuid"_s, u"Announced UUID (default: derived from name and address)."_s, u"uuid"_s},
        {u"mask"_s, u"Announced network mask."_s, u"mask"_s, u"255.0.0.0"_s},
        {u"announce-to"_s, u"Address that announcements are sent to."_s, u"address"_s,
         u"127.255.255.255"_s},
        {u"announce-interval"_s, u"Time between announcements."_s, u"ms"_s, u"1000"_s},
        {u"no-announce"_s, u"Send no announcements."_s},
        {u"generate"_s, u"Fill an empty library with drawn pictures."_s, u"seed"_s},
        {u"folders"_s, u"Folders to generate."_s, u"count"_s, u"6"_s},
        {u"visuals"_s, u"Visuals to generate in each folder."_s, u"count"_s, u"10"_s},
        {u"from-library"_s,
         u"Fill an empty library with the layout of a server, with drawn pictures in place of its "
         u"media. The port is 4567 and the path that of the library unless they are given."_s,
         u"URL"_s},
        {u"picture-size"_s, u"Size of a drawn picture."_s, u"WxH"_s, u"480x270"_s},
        {u"clip-bytes"_s, u"Length of a generated clip."_s, u"bytes"_s, u"262144"_s},
        {u"frame-rate-interval"_s, u"Time between frame-rate reports."_s, u"ms"_s, u"1000"_s},
        {u"bandwidth"_s, u"Limit for all media in both directions (0: no limit)."_s, u"bytes/s"_s,
         u"0"_s},
        {u"import-delay"_s, u"Time that an import takes."_s, u"ms"_s, u"0"_s},
        {u"burst-grace"_s, u"Time after a sync command in which more are expected."_s, u"ms"_s,
         u"500"_s},
        {u"workers"_s, u"Transfers that run at the same time."_s, u"count"_s, u"4"_s},
        {u"answer-only"_s, u"Report syncs as finished without copying files."_s},
        {u"log"_s, u"File to log requests to, one line each."_s, u"file"_s},
        {u"version-header"_s, u"X-BVProtocolVersion (empty: absent)."_s, u"value"_s,
         u"281474976710656"_s},
        {u"features"_s, u"X-BVFeatureList."_s, u"text"_s, u"1"_s},
        {u"refuse"_s, u"Refuse all or the N-th requests; KIND is 1 to 5 or upload."_s,
         u"CODE[@KIND][#N]"_s},
        {u"refuse-text"_s, u"Error text of refusals with code 3."_s, u"text"_s, u"Disk is full"_s},
        {u"fail-import"_s, u"Fail imports into this slot."_s, u"FOLDER/SLOT"_s},
        {u"fail-thumbnail"_s, u"Fail requests for this thumbnail."_s, u"FOLDER/SLOT"_s},
        {u"thumbnail-delay"_s, u"Time that every thumbnail, or one of them, takes."_s,
         u"MS[@FOLDER/SLOT]"_s},
        {u"stall"_s, u"Accept commands, but do not execute or answer them."_s},
        {u"drop-stream-after"_s, u"Cut each notification stream after this time."_s, u"ms"_s},
        {u"die-after"_s, u"Exit after so many bytes of media (0: never)."_s, u"bytes"_s, u"0"_s},
        {u"bad-json"_s, u"Cut the library document in the middle."_s},
        {u"sparse"_s, u"List only folders with visuals."_s},
        {u"mask-network-order"_s, u"Announce the mask with the wrong byte order."_s},
    };
    return list;
}

/// Parses a number that is a value or part of it. The error names the whole value.
qint64 number(const QString &option, const QString &value, const QString &part, qint64 low,
              qint64 high)
{
    bool ok = false;
    const qint64 result = part.toLongLong(&ok);
    if (!ok || result < low || result > high)
        throw BadValue(option, value);
    return result;
}

/// The number that is given to an option, or its default.
qint64 number(const QCommandLineParser &parser, const QString &option, qint64 low, qint64 high)
{
    return number(option, parser.value(option), parser.value(option), low, high);
}

constexpr qint64 maxDuration = 24LL * 3600 * 1000; // ms

std::chrono::milliseconds duration(const QCommandLineParser &parser, const QString &option,
                                   qint64 low = 0)
{
    return std::chrono::milliseconds(number(parser, option, low, maxDuration));
}

quint32 ipv4(const QCommandLineParser &parser, const QString &option)
{
    in_addr address{};
    if (inet_pton(AF_INET, parser.value(option).toLatin1().constData(), &address) != 1)
        throw BadValue(option, parser.value(option));
    return ntohl(address.s_addr);
}

/// Parses two numbers with a separator, which are a value or part of it.
std::pair<int, int> twoNumbers(const QString &option, const QString &value, const QString &part,
                               QChar separator, int low, int high)
{
    const QStringList numbers = part.split(separator);
    if (numbers.size() != 2)
        throw BadValue(option, value);
    return {static_cast<int>(number(option, value, numbers[0], low, high)),
            static_cast<int>(number(option, value, numbers[1], low, high))};
}

SlotId slotId(const QString &option, const QString &value, const QString &part)
{
    const auto [folder, visual] = twoNumbers(option, value, part, u'/', 0, 255);
    return {folder, visual};
}

std::set<SlotId> slotIds(const QCommandLineParser &parser, const QString &option)
{
    std::set<SlotId> result;
    for (const QString &value : parser.values(option))
        result.insert(slotId(option, value, value));
    return result;
}

Refusals::Codes readRefusals(const QCommandLineParser &parser)
{
    static const QRegularExpression pattern(u"^(\\d+)(?:@([1-5]|upload))?(?:#(\\d+))?$"_s);
    const QString option = u"refuse"_s;
    Refusals::Codes codes;
    for (const QString &value : parser.values(option)) {
        const QRegularExpressionMatch match = pattern.match(value);
        if (!match.hasMatch())
            throw BadValue(option, value);
        const bool single = match.hasCaptured(3);
        const auto ordinal = single ? number(option, value, match.captured(3), 1, 1'000'000) : 0;
        codes[{match.captured(2).toStdString(), static_cast<int>(ordinal)}] =
            static_cast<int>(number(option, value, match.captured(1), 1, 1000));
    }
    return codes;
}

void readThumbnailDelays(const QCommandLineParser &parser, Faults &faults)
{
    const QString option = u"thumbnail-delay"_s;
    for (const QString &value : parser.values(option)) {
        const std::chrono::milliseconds time(
            number(option, value, value.section(u'@', 0, 0), 0, maxDuration));
        if (value.contains(u'@'))
            faults.thumbnailDelays[slotId(option, value, value.section(u'@', 1))] = time;
        else
            faults.thumbnailDelay = time;
    }
}

void readFaults(const QCommandLineParser &parser, Faults &faults)
{
    faults.refuse = readRefusals(parser);
    faults.refuseText = parser.value(u"refuse-text"_s);
    faults.failImport = slotIds(parser, u"fail-import"_s);
    faults.failThumbnail = slotIds(parser, u"fail-thumbnail"_s);
    readThumbnailDelays(parser, faults);
    faults.stall = parser.isSet(u"stall"_s);
    faults.badJson = parser.isSet(u"bad-json"_s);
    faults.sparse = parser.isSet(u"sparse"_s);
    faults.maskInNetworkOrder = parser.isSet(u"mask-network-order"_s);
    if (parser.isSet(u"drop-stream-after"_s))
        faults.dropStreamAfter = duration(parser, u"drop-stream-after"_s);
    faults.dieAfterBytes = number(parser, u"die-after"_s, 0, std::numeric_limits<qint64>::max());
}

QSize readPictureSize(const QCommandLineParser &parser)
{
    const QString size = parser.value(u"picture-size"_s);
    const auto [width, height] = twoNumbers(u"picture-size"_s, size, size, u'x', 1, 8192);
    return {width, height};
}

QUrl readSource(const QCommandLineParser &parser)
{
    const QString option = u"from-library"_s;
    if (parser.isSet(u"generate"_s))
        throw std::runtime_error("--generate and --from-library exclude each other");
    QUrl url(parser.value(option), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != "http"_L1 || url.host().isEmpty() ||
        !url.userInfo().isEmpty() || url.port() == 0)
        throw BadValue(option, parser.value(option));
    url.setPort(url.port(4567));
    if (url.path().isEmpty() || url.path() == "/"_L1) {
        url.setPath(u"/brenvoka/library.json"_s);
        url.setQuery(u"ver=281474976710656"_s);
    }
    url.setFragment({});
    return url;
}

GeneratedLibrary readGenerated(const QCommandLineParser &parser)
{
    return {.seed = static_cast<quint32>(number(parser, u"generate"_s, 0, 0xffffffff)),
            .folders = static_cast<int>(number(parser, u"folders"_s, 0, folderLimit)),
            .visuals = static_cast<int>(number(parser, u"visuals"_s, 0, slotLimit - 1)),
            .clipBytes = static_cast<int>(number(parser, u"clip-bytes"_s, 1, 1 << 30))};
}

QUuid readUuid(const QCommandLineParser &parser, const QString &name, const QString &address)
{
    static const QUuid uuidNamespace(u"{9b5e3a52-7c0d-4f57-8d0b-2f3f1c7f4567}"_s);
    if (!parser.isSet(u"uuid"_s))
        return QUuid::createUuidV5(uuidNamespace, name + u'\n' + address);
    const QUuid uuid(parser.value(u"uuid"_s));
    if (uuid.isNull())
        throw BadValue(u"uuid"_s, parser.value(u"uuid"_s));
    return uuid;
}

Options readOptions(const QCommandLineParser &parser)
{
    if (!parser.isSet(u"library"_s))
        throw std::runtime_error("--library DIRECTORY is required");
    ipv4(parser, u"address"_s);
    ipv4(parser, u"announce-to"_s);
    const QString address = parser.value(u"address"_s);
    Options options;
    options.address = address.toStdString();
    options.name = parser.isSet(u"name"_s) ? parser.value(u"name"_s) : address;
    options.libraryDirectory = parser.value(u"library"_s);
    options.uuid = readUuid(parser, options.name, address);
    options.mask = ipv4(parser, u"mask"_s);
    options.announceTo = parser.value(u"announce-to"_s).toStdString();
    options.announceInterval = duration(parser, u"announce-interval"_s, 1);
    options.announce = !parser.isSet(u"no-announce"_s);
    if (parser.isSet(u"generate"_s))
        options.generate = readGenerated(parser);
    if (parser.isSet(u"from-library"_s))
        options.fromLibrary = readSource(parser);
    options.pictureSize = readPictureSize(parser);
    options.frameRateInterval = duration(parser, u"frame-rate-interval"_s, 1);
    options.bandwidth = number(parser, u"bandwidth"_s, 0, std::numeric_limits<qint64>::max());
    options.importDelay = duration(parser, u"import-delay"_s);
    options.burstGrace = duration(parser, u"burst-grace"_s);
    options.workers = static_cast<int>(number(parser, u"workers"_s, 1, 64));
    options.answerOnly = parser.isSet(u"answer-only"_s);
    options.logFile = parser.value(u"log"_s);
    options.versionHeader = parser.value(u"version-header"_s).toStdString();
    options.features = parser.value(u"features"_s).toStdString();
    readFaults(parser, options.faults);
    return options;
}

} // namespace

std::optional<Options> Options::parse(const QStringList &arguments, QString &error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"A media server for rehearsals. Each process is one server."_s);
    parser.addHelpOption();
    parser.addOptions(definitions());
    if (!parser.parse(arguments)) {
        error = parser.errorText();
        return {};
    }
    if (parser.isSet(u"help"_s))
        parser.showHelp();
    if (!parser.positionalArguments().isEmpty()) {
        error = u"Unexpected argument \"%1\""_s.arg(parser.positionalArguments().constFirst());
        return {};
    }
    try {
        return readOptions(parser);
    } catch (const std::runtime_error &bad) {
        error = QString::fromStdString(bad.what());
        return {};
    }
}
