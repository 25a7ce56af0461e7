// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/Picture.h"
#include "Look/Scenes.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QPainter>
#include <QRegularExpression>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize cellSize(540, 330);
constexpr int labelHeight = 24;
constexpr int gap = 8;
constexpr int scenesAcross = 3;

bool takePictures(const QList<Scene> &scenes, const QDir &output)
{
    bool ok = true;
    for (const Scene &scene : scenes) {
        const QImage picture = scene.take();
        if (picture.isNull() || !picture.save(output.filePath(scene.name + u".png"_s), "PNG", 0)) {
            QTextStream(stderr) << "No picture of " << scene.name << Qt::endl;
            ok = false;
        }
    }
    return ok;
}

void drawCell(QPainter &painter, const QPoint &corner, const QString &path, const QString &label)
{
    QImage picture(path);
    if (picture.width() > cellSize.width() || picture.height() > cellSize.height())
        picture = picture.scaled(cellSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    painter.drawText(QRect(corner, QSize(cellSize.width(), labelHeight)), Qt::AlignCenter, label);
    painter.drawImage(corner + QPoint((cellSize.width() - picture.width()) / 2, labelHeight),
                      picture);
}

/// Writes an overview of all scenes at all scales, each picture scaled to its cell.
bool writeSheet(const QList<Scene> &scenes, const QDir &pictures)
{
    const QStringList scales{u"1"_s, u"1.25"_s, u"2"_s};
    const QSize step = cellSize + QSize(gap, gap + labelHeight);
    const auto columns = int(scales.size()) * scenesAcross;
    const auto rows = int(scenes.size() + scenesAcross - 1) / scenesAcross;
    QImage sheet(columns * step.width() + gap, rows * step.height() + gap, QImage::Format_RGB32);
    sheet.fill(QColor(24, 24, 24));
    QPainter painter(&sheet);
    painter.setPen(Qt::white);
    for (int i = 0; i < scenes.size(); ++i) {
        for (int j = 0; j < scales.size(); ++j) {
            const int column = i % scenesAcross * int(scales.size()) + j;
            const QPoint corner(gap + column * step.width(),
                                gap + i / scenesAcross * step.height());
            drawCell(painter, corner,
                     pictures.filePath(u"%1/%2.png"_s.arg(scales[j], scenes[i].name)),
                     u"%1 × %2"_s.arg(scenes[i].name, scales[j]));
        }
    }
    painter.end();
    return sheet.save(pictures.filePath(u"index.png"_s));
}

} // namespace

/// Writes the pictures of all scenes, or only the golden ones, as PNG files; or puts those of three
/// scales on one sheet. The exit code is 1 if a picture could not be taken.
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    setUpAppearance();
    QCommandLineParser parser;
    const QCommandLineOption golden(u"golden"_s, u"only the pictures that the tests compare"_s);
    const QCommandLineOption sheet(
        u"sheet"_s, u"write an overview of the pictures in OUTPUT to OUTPUT/index.png"_s);
    const QCommandLineOption photographs(
        u"photographs"_s, u"directory of JPEG files for thumbnails"_s, u"directory"_s);
    const QCommandLineOption only(u"only"_s, u"only scenes whose names match this"_s, u"regex"_s);
    parser.addOptions({golden, sheet, photographs, only});
    parser.addPositionalArgument(u"output"_s, u"an existing directory"_s);
    parser.addHelpOption();
    parser.process(application);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);
    if (const QStringList missing = missingFonts(); !missing.isEmpty()) {
        QTextStream(stderr) << "Missing fonts: " << missing.join(u", "_s) << Qt::endl;
        return 1;
    }

    const QDir output(parser.positionalArguments().first());
    QList<Scene> scenes = windowScenes() + dialogScenes();
    if (parser.isSet(photographs))
        scenes = photographScenes(parser.value(photographs)) + scenes;
    const QRegularExpression pattern(parser.value(only));
    scenes.removeIf([&](const Scene &scene) {
        return (parser.isSet(golden) && !scene.golden) || !pattern.match(scene.name).hasMatch();
    });
    return (parser.isSet(sheet) ? writeSheet(scenes, output) : takePictures(scenes, output)) ? 0
                                                                                             : 1;
}
