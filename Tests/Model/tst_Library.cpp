// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Server.h"

#include "Support/FailOnWarning.h"
#include "Support/WireFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString goodHash = u"d41d8cd98f00b204e9800998ecf8427e"_s;

QString hashOf(int number)
{
    return QString::number(number).rightJustified(32, u'0');
}

QJsonObject fileObject(const QJsonValue &slot = 17)
{
    return {{u"hash"_s, goodHash}, {u"name"_s, u"017: Sunset"_s}, {u"slot"_s, slot}};
}

QJsonObject folderObject(const QJsonArray &files = {}, const QJsonValue &slot = 3)
{
    return {{u"files"_s, files}, {u"name"_s, u"Opening night"_s}, {u"slot"_s, slot}};
}

QJsonObject document(const QJsonArray &folders, const QJsonValue &hash = u"whole"_s)
{
    return {{u"folders"_s, folders}, {u"hash"_s, hash}};
}

QJsonObject with(QJsonObject object, const QString &key, const QJsonValue &value)
{
    object[key] = value;
    return object;
}

QJsonObject without(QJsonObject object, const QString &key)
{
    object.remove(key);
    return object;
}

QJsonArray files(int count)
{
    QJsonArray array;
    for (int i = 0; i < count; ++i)
        array.append(with(fileObject(i % 256), u"hash"_s, hashOf(count - i)));
    return array;
}

Server knownServer()
{
    Server server;
    if (!server.fromJson(document({folderObject({fileObject()})}, u"earlier"_s)))
        qFatal("the known server does not parse");
    return server;
}

} // namespace

Q_DECLARE_METATYPE(QJsonValue)

/// The reader of the library document.
class tst_Library final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void wireDocumentIsRead()
    {
        Server server;
        QVERIFY(server.fromJson(QJsonDocument::fromJson(wireFile(u"library.json"_s)).object()));
        QCOMPARE(server.hash, u"900150983cd24fb0d6963f7d28e17f72"_s);
        QCOMPARE(server.folders.size(), 2);
        QCOMPARE(server.folders[0].name, u"003 Opening night"_s);
        QCOMPARE(server.folders[0].slot, 3);
        QCOMPARE(server.folders[0].files,
                 (QList<Visual>{{u"0cc175b9c0f1b6a831c399e269772661"_s, u"003: Rain"_s, 3},
                                {u"d41d8cd98f00b204e9800998ecf8427e"_s, u"017: Sunset"_s, 17}}));
        QCOMPARE(server.folders[1].name, u"000 Blank"_s);
        QCOMPARE(server.folders[1].slot, 0);
        QVERIFY(server.folders[1].files.isEmpty());
    }

    void fileNumbers_data()
    {
        QTest::addColumn<QJsonValue>("slot");
        QTest::addColumn<int>("expected");
        QTest::newRow("0") << QJsonValue(0) << 0;
        QTest::newRow("255") << QJsonValue(255) << 255;
        QTest::newRow("256") << QJsonValue(256) << -1;
        QTest::newRow("3.0") << QJsonValue(3.0) << 3;
        QTest::newRow("3.5") << QJsonValue(3.5) << -1;
        QTest::newRow("minus 0.0") << QJsonValue(-0.0) << 0;
        QTest::newRow("minus 0.5") << QJsonValue(-0.5) << -1;
        QTest::newRow("minus 1") << QJsonValue(-1) << -1;
        QTest::newRow("2 to the 32nd") << QJsonValue(4294967296.0) << -1;
        QTest::newRow("2 to the 64th") << QJsonValue(18446744073709551616.0) << -1;
        QTest::newRow("1e300") << QJsonValue(1e300) << -1;
        QTest::newRow("minus 1e300") << QJsonValue(-1e300) << -1;
        QTest::newRow("255.00000001") << QJsonValue(255.00000001) << -1;
        QTest::newRow("text") << QJsonValue(u"3"_s) << -1;
        QTest::newRow("null") << QJsonValue() << -1;
        QTest::newRow("true") << QJsonValue(true) << -1;
    }
    void fileNumbers()
    {
        QFETCH(const QJsonValue, slot);
        QFETCH(const int, expected);
        Visual visual;
        QCOMPARE(visual.fromJson(fileObject(slot)), expected >= 0);
        QCOMPARE(visual.slot, qMax(expected, 0));
    }

    void folderNumbers_data()
    {
        QTest::addColumn<QJsonValue>("slot");
        QTest::addColumn<int>("expected");
        QTest::newRow("0") << QJsonValue(0) << 0;
        QTest::newRow("256") << QJsonValue(256) << 256;
        QTest::newRow("257") << QJsonValue(257) << -1;
        QTest::newRow("1.5") << QJsonValue(1.5) << -1;
        QTest::newRow("minus 1") << QJsonValue(-1) << -1;
        QTest::newRow("text") << QJsonValue(u"3"_s) << -1;
    }
    void folderNumbers()
    {
        QFETCH(const QJsonValue, slot);
        QFETCH(const int, expected);
        MediaFolder folder;
        QCOMPARE(folder.fromJson(folderObject({}, slot)), expected >= 0);
        QCOMPARE(folder.slot, qMax(expected, 0));
    }

    void folderHasUpTo256Files_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("valid");
        QTest::newRow("256") << 256 << true;
        QTest::newRow("257") << 257 << false;
    }
    void folderHasUpTo256Files()
    {
        QFETCH(const int, count);
        QFETCH(const bool, valid);
        Server server;
        QCOMPARE(server.fromJson(document({folderObject(files(count))})), valid);
        QCOMPARE(server.folderAt(0).files.size(), valid ? count : 0);
    }

    void refusedDocuments_data()
    {
        QTest::addColumn<QJsonObject>("json");
        const auto badFile = [](const QJsonValue &file) {
            return document({folderObject(), folderObject({fileObject(1), file})});
        };
        const auto badFolder = [](const QJsonValue &folder) {
            return document({folderObject(), folder});
        };
        const auto badHash = [&](int length) {
            return badFile(with(fileObject(), u"hash"_s, QString(length, u'a')));
        };
        QTest::newRow("empty object") << QJsonObject();
        QTest::newRow("no folders") << without(document({}), u"folders"_s);
        QTest::newRow("folders no array") << with(document({}), u"folders"_s, QJsonObject());
        QTest::newRow("no hash") << without(document({}), u"hash"_s);
        QTest::newRow("hash no string") << document({}, 5);
        QTest::newRow("folder no object") << badFolder(QJsonArray());
        QTest::newRow("folder null") << badFolder(QJsonValue());
        QTest::newRow("folder without files") << badFolder(without(folderObject(), u"files"_s));
        QTest::newRow("files no array")
            << badFolder(with(folderObject(), u"files"_s, QJsonObject()));
        QTest::newRow("folder without name") << badFolder(without(folderObject(), u"name"_s));
        QTest::newRow("folder name no string") << badFolder(with(folderObject(), u"name"_s, 3));
        QTest::newRow("folder without slot") << badFolder(without(folderObject(), u"slot"_s));
        QTest::newRow("file no object") << badFile(u"file"_s);
        QTest::newRow("file without hash") << badFile(without(fileObject(), u"hash"_s));
        QTest::newRow("file hash no string") << badFile(with(fileObject(), u"hash"_s, 3));
        QTest::newRow("file without name") << badFile(without(fileObject(), u"name"_s));
        QTest::newRow("file name no string")
            << badFile(with(fileObject(), u"name"_s, QJsonValue()));
        QTest::newRow("file without slot") << badFile(without(fileObject(), u"slot"_s));
        QTest::newRow("file slot 256") << badFile(fileObject(256));
        QTest::newRow("file slot 3.5") << badFile(fileObject(3.5));
        QTest::newRow("hash empty") << badHash(0);
        QTest::newRow("hash of 31 characters") << badHash(31);
        QTest::newRow("hash of 33 characters") << badHash(33);
    }
    void refusedDocuments()
    {
        QFETCH(const QJsonObject, json);
        Server server;
        QVERIFY(!server.fromJson(json));
        QVERIFY(server.folders.isEmpty());
        QVERIFY(server.hash.isNull());
    }

    void refusalChangesNothing_data() { refusedDocuments_data(); }
    void refusalChangesNothing()
    {
        QFETCH(const QJsonObject, json);
        Server server = knownServer();
        QVERIFY(!server.fromJson(json));
        QCOMPARE(server.hash, u"earlier"_s);
        QCOMPARE(server.folders.size(), 1);
        QCOMPARE(server.folders[0].files.size(), 1);
    }

    void successSetsFoldersAndHashOnly()
    {
        Server server(QUuid(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), QHostAddress(u"10.0.0.1"_s), 24,
                      u"Stage"_s);
        server.connected = true;
        server.graphFps = 25;
        QVERIFY(server.fromJson(with(document({folderObject()}), u"name"_s, u"other"_s)));
        QCOMPARE(server.name, u"Stage"_s);
        QCOMPARE(server.hash, u"whole"_s);
        QCOMPARE(server.folders.size(), 1);
        QCOMPARE(server.connections.size(), 1);
        QVERIFY(server.connected);
        QCOMPARE(server.graphFps, 25.0F);
    }

    void emptyLibraryIsValid()
    {
        Server server = knownServer();
        QVERIFY(server.fromJson(document({}, u""_s)));
        QVERIFY(server.folders.isEmpty());
        QCOMPARE(server.hash, u""_s);
    }

    void anyNumberOfFoldersIsValid()
    {
        QJsonArray folders;
        for (int i = 0; i < 1000; ++i)
            folders.append(folderObject({}, i % 257));
        Server server;
        QVERIFY(server.fromJson(document(folders)));
        QCOMPARE(server.folders.size(), 1000);
    }

    void unknownKeysAreIgnored()
    {
        const QJsonObject file = with(fileObject(), u"size"_s, QJsonArray());
        const QJsonObject folder = with(folderObject({file}), u"hash"_s, 3);
        Server server;
        QVERIFY(server.fromJson(with(document({folder}), u"version"_s, QJsonValue())));
        QCOMPARE(server.folders[0].files.size(), 1);
    }

    void filesAreSortedByHash()
    {
        QJsonArray array;
        // By UTF-16 code units: upper case before lower case, and a surrogate before U+FF21.
        const QStringList starts{u"b"_s, u"B"_s, u"a"_s, u"\uFF21"_s, u"\U0001D400"_s, u"1"_s};
        for (qsizetype i = 0; i < starts.size(); ++i)
            array.append(with(fileObject(int(i)), u"hash"_s, starts[i].leftJustified(32, u'0')));
        MediaFolder folder;
        QVERIFY(folder.fromJson(folderObject(array)));
        QList<int> order;
        for (const Visual &visual : folder.files)
            order << visual.slot;
        QCOMPARE(order, (QList<int>{5, 1, 2, 0, 4, 3}));
        for (const QString &start : starts)
            QVERIFY(folder.containsHash(start.leftJustified(32, u'0')));
    }

    void equalHashesAreBothKept()
    {
        MediaFolder folder;
        QVERIFY(folder.fromJson(folderObject({fileObject(5), fileObject(9)})));
        QCOMPARE(folder.files.size(), 2);
        QVERIFY(folder.indexOfSlot(5) >= 0);
        QVERIFY(folder.indexOfSlot(9) >= 0);
    }

    void equalSlotsAreBothKept()
    {
        MediaFolder folder;
        const QJsonObject other = with(fileObject(5), u"hash"_s, hashOf(1));
        QVERIFY(folder.fromJson(folderObject({fileObject(5), other})));
        QCOMPARE(folder.files.size(), 2);
        QCOMPARE(folder.indexOfSlot(5), 0);
    }

    void foldersKeepTheDocumentsOrder()
    {
        Server server;
        QVERIFY(server.fromJson(
            document({folderObject({}, 7), folderObject({}, 0), folderObject({}, 7)})));
        QCOMPARE(server.folders.size(), 3);
        QCOMPARE(server.folders[0].slot, 7);
        QCOMPARE(server.folders[1].slot, 0);
        QCOMPARE(server.folders[2].slot, 7);
    }

    void visualRefusalChangesNothing()
    {
        const Visual before{goodHash, u"name"_s, 7};
        Visual visual = before;
        QVERIFY(!visual.fromJson(with(fileObject(), u"hash"_s, u"short"_s)));
        QCOMPARE(visual, before);
    }

    void folderRefusalChangesNothing()
    {
        MediaFolder folder;
        QVERIFY(folder.fromJson(folderObject({fileObject()})));
        const QJsonArray badFile{with(fileObject(), u"hash"_s, u"short"_s)};
        QVERIFY(!folder.fromJson(with(folderObject(files(257), 9), u"name"_s, u"other"_s)));
        QVERIFY(!folder.fromJson(with(folderObject(badFile, 9), u"name"_s, u"other"_s)));
        QCOMPARE(folder.name, u"Opening night"_s);
        QCOMPARE(folder.slot, 3);
        QCOMPARE(folder.files.size(), 1);
    }

    void writtenRecordsEqualReadOnes()
    {
        const QJsonArray sorted{with(fileObject(9), u"hash"_s, hashOf(1)),
                                with(fileObject(2), u"hash"_s, hashOf(2))};
        MediaFolder folder;
        QVERIFY(folder.fromJson(folderObject(sorted, 256)));
        QCOMPARE(folder.toJson(), folderObject(sorted, 256));
        QCOMPARE(folder.files.first().toJson(), sorted.first().toObject());
    }

    void namesAreNotChanged()
    {
        for (const QString &name : {u""_s, u"  017:\tSunset \n"_s, u"\u202EtesnuS"_s}) {
            MediaFolder folder;
            const QJsonArray file{with(fileObject(), u"name"_s, name)};
            QVERIFY(folder.fromJson(with(folderObject(file), u"name"_s, name)));
            QCOMPARE(folder.name, name);
            QCOMPARE(folder.files.first().name, name);
        }
    }

    void hashesAreFoundInAFolder()
    {
        MediaFolder folder;
        QVERIFY(folder.fromJson(folderObject({with(fileObject(9), u"hash"_s, hashOf(4)),
                                              with(fileObject(2), u"hash"_s, hashOf(2))})));
        QVERIFY(folder.containsHash(hashOf(2)) && folder.containsHash(hashOf(4)));
        for (const int number : {1, 3, 5})
            QVERIFY(!folder.containsHash(hashOf(number)));
    }

    void visualsCompareByEveryField()
    {
        const Visual visual{goodHash, u"name"_s, 7};
        QVERIFY(visual == (Visual{goodHash, u"name"_s, 7}));
        QVERIFY(visual != (Visual{hashOf(1), u"name"_s, 7}));
        QVERIFY(visual != (Visual{goodHash, u"Name"_s, 7}));
        QVERIFY(visual != (Visual{goodHash, u"name"_s, 8}));
    }
};

QTEST_GUILESS_MAIN(tst_Library)
#include "tst_Library.moc"
