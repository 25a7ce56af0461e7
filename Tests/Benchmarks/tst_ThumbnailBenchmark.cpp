// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/AnsweringServer.h"
#include "Benchmarks/Comparison.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize pictureSize(128, 96);

/// A picture that is not trivial to decode.
QString drawnPicture(const QTemporaryDir &directory)
{
    QImage image(pictureSize, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixelColor(x, y, QColor::fromHsv((x * 7 + y * y) % 360, x + y, 255 - x));
    }
    const QString path = directory.filePath(u"picture.png"_s);
    if (!image.save(path))
        qFatal("Cannot write the picture");
    return path;
}

MediaFolder folderOf(int slot, int visualCount)
{
    QList<Visual> files;
    for (int file = 1; file <= visualCount; ++file)
        files.append(visual(file, u"Sunset"_s, hashOf(file)));
    return folder(slot, u"Sunsets"_s, files);
}

/// The time of the clock: the operator waits for the network.
template <typename Work>
double waitingTime(Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

/// What a script would do: download with curl, then decode one picture after the other.
void downloadWithCurl(const QHostAddress &server, int count)
{
    const QTemporaryDir directory;
    QProcess curl;
    curl.start(u"curl"_s, {u"--silent"_s, u"--parallel"_s, u"--parallel-max"_s, u"6"_s,
                           u"--output"_s, directory.filePath(u"#1.png"_s),
                           u"http://%1:4567/brenvoka/thumbnails/0/[1-%2].png"_s.arg(
                               server.toString(), QString::number(count))});
    QVERIFY(curl.waitForFinished());
    for (int slot = 1; slot <= count; ++slot)
        QCOMPARE(QPixmap(directory.filePath(u"%1.png"_s.arg(slot))).size(), pictureSize);
}

} // namespace

/// How long the operator waits for the pictures of a full folder.
class tst_ThumbnailBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void fullFolder()
    {
        const QTemporaryDir directory;
        const AnsweringServer answers(
            loopback(1), {"/brenvoka/thumbnails/=" + drawnPicture(directory).toUtf8()});
        constexpr int visuals = 255;
        Server server = sampleServer(u"Stage left"_s, answers.address().toString());
        server.folders = {folderOf(0, visuals), folderOf(1, visuals / Comparison::small)};
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        compareSizes([&](int part) { return waitingTime([&] { open(part == 1 ? 0 : 1); }); },
                     [&](int part) {
                         return waitingTime(
                             [&] { downloadWithCurl(answers.address(), visuals / part); });
                     })
            .print({"255 thumbnails, double click to filled rows",
                    "`curl --parallel --parallel-max 6` and decoding one after the other", 1.3,
                    1.1});
    }

private:
    /// From the double click to the painted rows.
    void open(int row)
    {
        fixture.bankA().showFolders();
        QPixmapCache::clear();
        doubleClickRow(fixture.bankA(), row);
        MediaListWidget &list = listOf(fixture.bankA());
        while (list.count() != 257 || !fixture.bankA().isEnabled())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        list.viewport()->repaint();
    }

    WindowFixture fixture;
};

QTEST_MAIN(tst_ThumbnailBenchmark)
#include "tst_ThumbnailBenchmark.moc"
