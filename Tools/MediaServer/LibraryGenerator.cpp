// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/LibraryGenerator.h"

#include "MediaServer/DrawnFiles.h"

#include <QRandomGenerator>

#include <algorithm>
#include <numeric>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList folderTitles = {u"Blank"_s,    u"Overture"_s, u"Opening night"_s, u"Act one"_s,
                                  u"Interval"_s, u"Act two"_s,  u"Finale"_s,        u"Encore"_s};
const QStringList titles = {u"Sunset"_s,  u"Rain"_s,    u"Harbour"_s, u"Forest"_s,  u"Skyline"_s,
                            u"Curtain"_s, u"Dunes"_s,   u"Aurora"_s,  u"Market"_s,  u"Lantern"_s,
                            u"Ravine"_s,  u"Orchard"_s, u"Glacier"_s, u"Meadow"_s,  u"Viaduct"_s,
                            u"Beacon"_s,  u"Canyon"_s,  u"Islands"_s, u"Station"_s, u"Festival"_s};

/// Every seventh file is a clip.
constexpr int clipEvery = 7;

QByteArray makeClip(int length, QRandomGenerator &random)
{
    QByteArray bytes(length, Qt::Uninitialized);
    std::ranges::generate(bytes, [&random] { return static_cast<char>(random.generate()); });
    return bytes;
}

/// Slots in ascending order, with gaps if the folder has room for gaps.
QList<int> chooseSlots(int count, QRandomGenerator &random)
{
    QList<int> chosen(std::min(slotLimit - 1, count + count / 2));
    std::iota(chosen.begin(), chosen.end(), 1);
    while (chosen.size() > count)
        chosen.removeAt(random.bounded(chosen.size()));
    return chosen;
}

} // namespace

void generateLibrary(Library &library, const GeneratedLibrary &settings, QSize pictureSize)
{
    int number = 0;
    for (int folder = 0; folder < settings.folders; ++folder) {
        QRandomGenerator random(settings.seed * 1000003U + static_cast<quint32>(folder));
        const QString name =
            u"%1 %2"_s.arg(threeDigits(folder), folderTitles.at(folder % folderTitles.size()));
        if (const QString error = library.rename(folder, name); !error.isEmpty())
            throw std::runtime_error(error.toStdString());
        for (const int slot : chooseSlots(settings.visuals, random)) {
            const QString title = titles.at(random.bounded(titles.size()));
            const QString label =
                u"%1\n%2 / %3"_s.arg(title, threeDigits(folder), threeDigits(slot));
            if (++number % clipEvery == 0)
                storeFile(library, {folder, slot}, title + u".mov"_s,
                          makeClip(settings.clipBytes, random));
            else
                storeFile(library, {folder, slot}, title + u".png"_s,
                          pngOf(drawPicture(pictureSize, label, random)));
        }
    }
}
