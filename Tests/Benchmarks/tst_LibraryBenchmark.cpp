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

/// How long a full library blocks the window when it arrives.
class tst_LibraryBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void readerAgainstPlainParsing()
    {
        const QList<MediaFolder> folders = fullServer(u"clip"_s).folders;
        const QByteArray full = libraryDocument(folders, u"whole"_s).toJson();
        const QByteArray quarter =
            libraryDocument(folders.first(256 / Comparison::small), u"whole"_s).toJson();
        const auto body = [&](int part) { return part == 1 ? full : quarter; };
        Server server;
        qsizetype folderCount = 0;
        compareSizes(
            [&](int part) {
                server = {};
                return processorTime(
                    [&] { QVERIFY(server.fromJson(jsonObjectFromBody(body(part)))); });
            },
            // Both free the document, as the reader has to.
            [&](int part) {
                return processorTime([&] {
                    folderCount =
                        QJsonDocument::fromJson(body(part))["folders"_L1].toArray().size();
                });
            },
            15)
            .print({"library of 11.8 MB to records", "`QJsonDocument::fromJson` alone", 1.5, 1.2});
        QCOMPARE(folderCount, server.folders.size());
        QCOMPARE(server.folders.last().files.size(), 255);
    }
};

QTEST_APPLESS_MAIN(tst_LibraryBenchmark)
#include "tst_LibraryBenchmark.moc"
