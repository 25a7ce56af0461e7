// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Server.h"
#include "Service/JsonBody.h"
#include "Support/Libraries.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray fullDocument()
{
    QJsonArray folders;
    for (const MediaFolder &folder : Libraries::fullServer(u"clip"_s).folders)
        folders.append(folder.toJson());
    return QJsonDocument(QJsonObject{{u"folders"_s, folders}, {u"hash"_s, u"whole"_s}}).toJson();
}

/// The shortest of some runs, in milliseconds: what the work takes on an undisturbed machine.
template <typename Work>
double shortest(Work work)
{
    qint64 best = std::numeric_limits<qint64>::max();
    for (int run = 0; run < 7; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        best = std::min(best, timer.nsecsElapsed());
    }
    return double(best) / 1e6;
}

} // namespace

/// How long the window stands still while a full library arrives.
class tst_LibraryBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void readerAgainstPlainParsing();
};

void tst_LibraryBenchmark::readerAgainstPlainParsing()
{
    const QByteArray body = fullDocument();
    QJsonObject object;
    Server server;
    const double parsing = shortest([&] { object = QJsonDocument::fromJson(body).object(); });
    const double reading = shortest([&] { QVERIFY(server.fromJson(jsonObjectFromBody(body))); });
    QCOMPARE(object.size(), 2);
    QCOMPARE(server.folders.size(), 256);
    QCOMPARE(server.folders.last().files.size(), 255);
    qInfo("%.1f MB, 256 folders of 255 visuals: reader %.1f ms, QJsonDocument::fromJson alone "
          "%.1f ms, ratio %.2f",
          double(body.size()) / 1e6, reading, parsing, reading / parsing);
}

QTEST_APPLESS_MAIN(tst_LibraryBenchmark)
#include "tst_LibraryBenchmark.moc"
