// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ControllerFixture.h"
#include "Look/LookFixture.h"
#include "Look/Scenes.h"
#include "Support/Wait.h"

#include <QBuffer>
#include <QDir>
#include <QImageReader>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The thumbnail that a server creates of a photograph: its middle, in the size of a thumbnail.
QByteArray thumbnailOf(const QString &path)
{
    constexpr QSize size(128, 96);
    QImageReader reader(path);
    const QSize scaled = reader.size().scaled(size, Qt::KeepAspectRatioByExpanding);
    reader.setScaledSize(scaled * 2);
    const QImage photograph =
        reader.read().scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QRect middle(QPoint(scaled.width() - size.width(), scaled.height() - size.height()) / 2,
                       size);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    photograph.copy(middle).save(&buffer, "PNG");
    return buffer.data();
}

struct Photograph
{
    const char *fileName;
    const char *title;
};

/// Photographs of Debian's lomiri-wallpapers-16.04 that may be shown if their author is named:
/// CC BY 4.0, and CC0 for the dandelions.
constexpr Photograph photographs[] = {
    {"sunset_by_Aitzol_Berasategi.jpg", "Sunset"},
    {"life_by_Aitzol_Berasategi.jpg", "Forest stream"},
    {"Picture_0B_by_freespace.jpg", "Fig"},
    {"picosdeeuropa_by_Aitzol_Berasategi.jpg", "Picos de Europa"},
    {"Picture_1A_by_freespace.jpg", "Brushes"},
    {"seeding_by_Clements_Engelhardt.jpg", "Dandelions"},
    {"friends_by_Aitzol_Berasategi.jpg", "Friends"},
    {"aitzgorri_by_Aitzol_Berasategi.jpg", "Aitzgorri"},
    {"Wine_by_Jakkub_Mede.jpg", "Drum"},
    {"umang_by_Abhishek_Mudgal.jpg", "Colours"},
};

/// The photographs that exist, as a server sends them.
struct Album
{
    QStringList titles;
    QList<QByteArray> thumbnails;
};

Album album(const QDir &directory)
{
    Album result;
    for (const auto &[fileName, title] : photographs) {
        const QString path = directory.filePath(QString::fromLatin1(fileName));
        if (!QFile::exists(path))
            continue;
        result.titles.append(QString::fromLatin1(title));
        result.thumbnails.append(thumbnailOf(path));
    }
    return result;
}

/// Two folders. The first has that name and all photographs but one.
QList<MediaFolder> foldersOf(const Album &album, const QString &name, int missing)
{
    QList<Visual> files;
    for (int i = 0; i < album.titles.size(); ++i) {
        const int slot = i + 1;
        if (i != missing)
            files.append(visual(slot, album.titles[i], hashOf(5000 + i)));
    }
    return {folder(0, name, files), folder(1, u"Loops"_s)};
}

/// Two servers with photographs, opened in the main window.
class PhotographFixture final : public ControllerFixture
{
public:
    [[nodiscard]] bool open(const Album &album)
    {
        for (ScriptedServer *server : {&left, &right}) {
            server->wire.on("/brenvoka/thumbnails/", [album](const WireRequest &request) {
                const int slot = request.path().split('/').last().split('.').first().toInt();
                request.answer(album.thumbnails.value(slot - 1), "Content-Type: image/png\r\n");
            });
        }
        if (!connectServer(left, u"Stage left"_s, foldersOf(album, u"Photographs"_s, -1)) ||
            !connectServer(right, u"Stage right"_s, foldersOf(album, u"Photographs 2025"_s, 4)) ||
            !show())
            return false;
        controller().serverUpdateFpsStats(left.uuid, 59.94F, 60, 60, true);
        controller().serverUpdateFpsStats(right.uuid, 59.94F, 60, 60, true);
        controller().folderChanged(0);
        const auto isOpen = [](const BVServerBank &bank) {
            return bank.isEnabled() && listOf(bank).count() == 257;
        };
        return waitFor([&] { return isOpen(bankA()) && isOpen(bankB()); });
    }

    ScriptedServer left{loopback(11)};
    ScriptedServer right{loopback(12)};
};

} // namespace

QList<Scene> photographScenes(const QString &directory)
{
    const Album shown = album(directory);
    if (shown.titles.isEmpty())
        return {};
    QList<Scene> scenes;
    for (const View &view : allViews()) {
        const auto take = [shown, view] {
            PhotographFixture fixture;
            if (!fixture.open(shown))
                return QImage();
            view.choose(*fixture.window);
            return pictureOf(*fixture.window);
        };
        scenes.append({u"photographs-"_s + view.name(), take});
    }
    return scenes;
}
