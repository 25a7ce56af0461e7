// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Model/Server.h"
#include "Protocol/JsonBody.h"
#include "Support/Libraries.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray fullDocument()
{
    QJsonArray folders;
    for (const MediaFolder &folder : fullServer(u"clip"_s).folders)
        folders.append(folder.toJson());
    return QJsonDocument(QJsonObject{{u"folders"_s, folders}, {u"hash"_s, u"whole"_s}}).toJson();
}

} // namespace

/// How long a full library blocks the window when it arrives.
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
    const Comparison time = compare([&] { QVERIFY(server.fromJson(jsonObjectFromBody(body))); },
                                    [&] { object = QJsonDocument::fromJson(body).object(); });
    QCOMPARE(object.size(), 2);
    QCOMPARE(server.folders.size(), 256);
    QCOMPARE(server.folders.last().files.size(), 255);
    qInfo("%.1f MB, 256 folders of 255 visuals", double(body.size()) / 1e6);
    time.print("reader", "only QJsonDocument::fromJson");
    QVERIFY(time.ratio() < 4);
}

QTEST_APPLESS_MAIN(tst_LibraryBenchmark)
#include "tst_LibraryBenchmark.moc"
