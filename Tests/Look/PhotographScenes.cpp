// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ControllerRig.h"
#include "Look/Scenes.h"
#include "Look/WindowStage.h"

#include <QBuffer>
#include <QDir>
#include <QImageReader>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The thumbnail that a server gives of a photograph: its middle, in the server's size.
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

/// Photographs by the titles that their files' names give.
struct Album
{
    QStringList titles;
    QList<QByteArray> thumbnails;
};

Album album(const QString &directory)
{
    Album result;
    const QFileInfoList files =
        QDir(directory).entryInfoList({u"*.jpg"_s}, QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        QString title = file.baseName().section(u"_by_"_s, 0, 0).replace(u'_', u' ');
        title[0] = title[0].toUpper();
        result.titles.append(title);
        result.thumbnails.append(thumbnailOf(file.filePath()));
    }
    return result;
}

QList<MediaFolder> foldersOf(const Album &album, int leftOut)
{
    QList<Visual> files;
    for (int i = 0; i < album.titles.size(); ++i) {
        if (i != leftOut)
            files.append({hashOf(5000 + i),
                          u"%1: %2"_s.arg(i + 1, 3, 10, QLatin1Char('0')).arg(album.titles[i]),
                          i + 1});
    }
    return {folder(0, u"Photographs"_s, files), folder(1, u"Loops"_s)};
}

/// Two servers with photographs, opened in the main window as an operator opens them.
class PhotographStage final
{
public:
    [[nodiscard]] bool open(const Album &album)
    {
        for (PlayedServer *server : {&left, &right}) {
            server->wire.on("/brenvoka/thumbnails/", [album](const WireRequest &request) {
                const int slot = request.path().split('/').last().split('.').first().toInt();
                request.answer(album.thumbnails.value(slot - 1), "Content-Type: image/png\r\n");
            });
        }
        if (!rig.bringUp(left, u"Stage left"_s, foldersOf(album, -1)) ||
            !rig.bringUp(right, u"Stage right"_s, foldersOf(album, 6)) || !rig.rig.show())
            return false;
        rig.controller().serverUpdateFpsStats(left.uuid, 59.94F, 60, 60, true);
        rig.controller().serverUpdateFpsStats(right.uuid, 59.94F, 60, 60, true);
        rig.controller().folderChanged(0);
        const auto isOpen = [](const BVServerBank &bank) {
            return bank.isEnabled() && listOf(bank).count() == 257;
        };
        return QTest::qWaitFor([&] { return isOpen(rig.bankA()) && isOpen(rig.bankB()); }, 10000);
    }

    PlayedServer left{u"127.70.1.1"_s};
    PlayedServer right{u"127.70.1.2"_s};
    ControllerRig rig;
};

} // namespace

QList<Scene> photographScenes(const QString &directory)
{
    const Album photographs = album(directory);
    if (photographs.titles.isEmpty())
        return {};
    QList<Scene> scenes;
    for (const View &view : allViews()) {
        const auto take = [photographs, view] {
            PhotographStage stage;
            if (!stage.open(photographs))
                return QImage();
            view.choose(*stage.rig.rig.window);
            return pictureOf(*stage.rig.rig.window);
        };
        scenes.append({u"photographs-"_s + view.name(), take});
    }
    return scenes;
}
