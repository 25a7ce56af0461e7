// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/LibraryCopy.h"

#include "MediaServer/DrawnFiles.h"
#include "MediaServer/FileHash.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <httplib.h>

#include <chrono>
#include <set>

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longestDocument = 64 * 1024 * 1024;
constexpr auto longestDownload = 60s;

[[noreturn]] void refuse(const QString &reason)
{
    throw BadSource(reason.toStdString());
}

QByteArray download(const QUrl &source)
{
    using Clock = std::chrono::steady_clock;
    httplib::Client client(source.host().toStdString(), source.port());
    client.set_connection_timeout(3);
    client.set_read_timeout(10);
    QByteArray document;
    int status = 0;
    const Clock::time_point end = Clock::now() + longestDownload;
    const httplib::Result result = client.Get(
        source.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority).toStdString(),
        [&](const httplib::Response &response) {
            status = response.status;
            return status == 200;
        },
        [&](const char *data, std::size_t size) {
            document.append(data, static_cast<qsizetype>(size));
            return document.size() <= longestDocument && Clock::now() < end;
        });
    if (status != 0 && status != 200)
        refuse(u"%1 answered with status %2"_s.arg(source.toString(), QString::number(status)));
    if (!result)
        refuse(u"cannot read %1: %2"_s.arg(
            source.toString(), QString::fromStdString(httplib::to_string(result.error()))));
    return document;
}

/// The slot of a folder or visual, whose numbers begin with `first`, and which is not `taken` yet.
int readSlot(const QJsonObject &object, int first, std::set<int> &taken, const QString &owner)
{
    const int slot = object["slot"_L1].toInt(-1);
    if (slot < first || slot > 255)
        refuse(u"the library lists %1 without a slot from %2 to 255"_s.arg(owner,
                                                                           QString::number(first)));
    if (!taken.insert(slot).second)
        refuse(u"the library lists %1 twice: slot %2"_s.arg(owner, QString::number(slot)));
    return slot;
}

QString readText(const QJsonObject &object, QLatin1StringView key, const QString &owner)
{
    const QJsonValue value = object[key];
    if (!value.isString())
        refuse(u"the library lists %1 without a %2"_s.arg(owner, key));
    return value.toString();
}

QJsonArray readArray(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object[key];
    if (!value.isArray())
        refuse(u"the library has no list of %1"_s.arg(key));
    return value.toArray();
}

/// "Sunset.png" for "017: Sunset". Characters that no file name can have become "_".
QString fileNameOf(int slot, QString name)
{
    const QString number = threeDigits(slot) + u": "_s;
    if (name.startsWith(number))
        name.remove(0, number.size());
    name.replace(u'/', u'_').replace(u'\\', u'_');
    const QString fileName = Library::safeFileName(name + u".png"_s);
    return fileName == "png"_L1 ? u"Untitled.png"_s : fileName;
}

StoredFolder readFolder(const QJsonObject &object, int folder)
{
    StoredFolder result{readText(object, "name"_L1, u"a folder"_s), {}};
    const QString visual = u"a visual of folder %1"_s.arg(folder);
    std::set<int> taken;
    for (const auto element : readArray(object, "files"_L1)) {
        const QJsonObject file = element.toObject();
        const int slot = readSlot(file, 1, taken, visual);
        result.visuals[slot] = {fileNameOf(slot, readText(file, "name"_L1, visual)),
                                readText(file, "hash"_L1, visual)};
    }
    return result;
}

QByteArray drawInPlaceOf(const QString &hash, QSize size)
{
    // The server's hash may be any text.
    const QByteArray digest =
        QCryptographicHash::hash(hash.toUtf8(), QCryptographicHash::Md5).toHex();
    QRandomGenerator random(digest.left(8).toUInt(nullptr, 16));
    QImage image = drawPicture(size, hash.left(8), random);
    // Two pictures may look alike, but their files are different.
    image.setText(u"Comment"_s, QString::fromLatin1(digest));
    return pngOf(image);
}

} // namespace

Folders readLayout(const QByteArray &document)
{
    const QJsonDocument json = QJsonDocument::fromJson(document);
    if (!json.isObject())
        refuse(u"the library is not a JSON object"_s);
    Folders folders;
    std::set<int> taken;
    for (const auto element : readArray(json.object(), "folders"_L1)) {
        const QJsonObject object = element.toObject();
        const int folder = readSlot(object, 0, taken, u"a folder"_s);
        folders[folder] = readFolder(object, folder);
    }
    return folders;
}

void copyLayout(Library &library, const QUrl &source, QSize pictureSize)
{
    for (const auto &[number, folder] : readLayout(download(source))) {
        if (const QString error = library.rename(number, folder.name); !error.isEmpty())
            throw std::runtime_error(error.toStdString());
        for (const auto &[slot, visual] : folder.visuals)
            storeFile(library, {number, slot}, visual.fileName,
                      drawInPlaceOf(visual.hash, pictureSize));
    }
}
