// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryCheck.h"

#include "Brenvokactl/LibraryDownload.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString hash = u"0123456789abcdef0123456789abcdef"_s;

QJsonObject visual(int slot, const QString &name)
{
    return {{u"slot"_s, slot}, {u"name"_s, name}, {u"hash"_s, hash}};
}

QJsonObject folder(int slot, const QJsonArray &files)
{
    return {{u"slot"_s, slot}, {u"name"_s, u"name"_s}, {u"files"_s, files}};
}

QByteArray document(const QJsonArray &folders)
{
    return QJsonDocument(QJsonObject{{u"hash"_s, u"h"_s}, {u"folders"_s, folders}}).toJson();
}

LibraryDownload reply(const QByteArray &body)
{
    LibraryDownload download;
    download.status = 200;
    download.version = "281474976710656";
    download.features = "1";
    download.body = body;
    return download;
}

bool isRefused(const QList<Finding> &findings)
{
    return std::ranges::any_of(findings, [](const Finding &finding) {
        return finding.level == Finding::Refused || finding.level == Finding::Unreachable;
    });
}

/// Something that may be in a document, often of the wrong kind.
QJsonValue randomValue(QRandomGenerator &random, const QJsonValue &usual)
{
    switch (random.bounded(24)) {
    case 0:
        return {};
    case 1:
        return -1;
    case 2:
        return 256;
    case 3:
        return 3.5;
    case 4:
        return u"text"_s;
    case 5:
        return QJsonObject();
    case 6:
        return QJsonArray{1};
    default:
        return usual;
    }
}

QByteArray randomDocument(QRandomGenerator &random)
{
    QJsonArray folders;
    for (int count = random.bounded(3); count > 0; --count) {
        QJsonArray files;
        for (int file = random.bounded(3); file > 0; --file) {
            files.append(
                randomValue(random, QJsonObject{{u"slot"_s, randomValue(random, file)},
                                                {u"name"_s, randomValue(random, u"name"_s)},
                                                {u"hash"_s, randomValue(random, hash)}}));
        }
        folders.append(randomValue(random, QJsonObject{{u"slot"_s, randomValue(random, count)},
                                                       {u"name"_s, randomValue(random, u"n"_s)},
                                                       {u"files"_s, randomValue(random, files)}}));
    }
    const QJsonObject object{{u"hash"_s, randomValue(random, u"h"_s)},
                             {u"folders"_s, randomValue(random, folders)}};
    QByteArray text = QJsonDocument(object).toJson(QJsonDocument::Compact);
    switch (random.bounded(16)) {
    case 0:
        return text.first(random.bounded(text.size()));
    case 1:
        return text.insert(random.bounded(text.size()), '\0');
    case 2:
        return text.insert(random.bounded(text.size()), '\xff');
    default:
        return text;
    }
}

} // namespace

/// What `check` says about a library.
class tst_LibraryCheck final : public QObject
{
    Q_OBJECT

private slots:
    void gatesAreInTheOrderOfTheWindow_data()
    {
        QTest::addColumn<LibraryDownload>("download");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("words");
        const QByteArray good = document({folder(0, {visual(1, u"001: a"_s)})});
        const auto row = [&good](const char *name, auto change, const QString &subject,
                                 const QString &words) {
            LibraryDownload download = reply(good);
            change(download);
            QTest::newRow(name) << download << subject << words;
        };
        row(
            "no answer",
            [](LibraryDownload &d) {
                d = LibraryDownload();
                d.error = u"Connection refused"_s;
            },
            u"connection"_s, u"Connection refused"_s);
        row(
            "HTTP error",
            [](LibraryDownload &d) {
                d.status = 404;
                d.error = u"not found"_s;
                d.features = "x";
            },
            u"reply"_s, u"HTTP status 404: not found"_s);
        row(
            "feature list",
            [](LibraryDownload &d) {
                d.features = "1x";
                d.version = "0";
            },
            u"feature list"_s, u"\"1x\""_s);
        row(
            "version 0",
            [](LibraryDownload &d) {
                d.version = "0";
                d.body = "{";
            },
            u"version"_s, u"above 0"_s);
        row(
            "no version", [](LibraryDownload &d) { d.version.clear(); }, u"version"_s, u"\"\""_s);
        row(
            "half a document", [](LibraryDownload &d) { d.body.chop(20); }, u"JSON"_s,
            u"at byte"_s);
        row(
            "no object", [](LibraryDownload &d) { d.body = "[]"; }, u"JSON"_s, u"no object"_s);
        row(
            "no folders", [](LibraryDownload &d) { d.body = "{\"hash\":\"\"}"; }, u"document"_s,
            u"\"folders\" must be an array"_s);
    }
    void gatesAreInTheOrderOfTheWindow()
    {
        QFETCH(const LibraryDownload, download);
        const QList<Finding> findings = LibraryCheck::gates(download);
        for (qsizetype index = 0; index < findings.size() - 1; ++index)
            QCOMPARE(findings.at(index).level, Finding::Passed);
        QVERIFY(findings.constLast().level != Finding::Passed);
        QTEST(findings.constLast().subject, "subject");
        QFETCH(const QString, words);
        QVERIFY2(findings.constLast().text.contains(words), qPrintable(findings.constLast().text));
        QCOMPARE(LibraryCheck::read(download).error, findings.constLast().text);
    }

    void brokenRulesHaveFolderAndSlot()
    {
        QJsonObject badHash = visual(17, u"017: a"_s);
        badHash[u"hash"_s] = u"short"_s;
        QJsonObject badSlot = visual(3, u"003: b"_s);
        badSlot[u"slot"_s] = 256;
        const LibraryDownload download = reply(document({folder(3, {badHash, badSlot})}));
        const QList<Finding> findings = LibraryCheck::gates(download);
        const qsizetype first = findings.size() - 2;
        QCOMPARE(findings.at(first).folder, 3);
        QCOMPARE(findings.at(first).slot, 17);
        QCOMPARE(findings.at(first).text,
                 u"folders[0], files[0]: \"hash\" must be a text of 32 characters"_s);
        QCOMPARE(findings.at(first + 1).folder, 3);
        QCOMPARE(findings.at(first + 1).slot, -1);
        QVERIFY(findings.at(first + 1).text.startsWith(u"folders[0], files[1]: \"slot\""_s));
        QCOMPARE(LibraryCheck::read(download).error, findings.at(first).text);
    }

    void rulesAgreeWithTheReader()
    {
        QRandomGenerator random(22);
        int refused = 0;
        for (int round = 0; round < 3000; ++round) {
            const LibraryDownload download = reply(randomDocument(random));
            const bool isAccepted = static_cast<bool>(LibraryCheck::read(download));
            QVERIFY2(isAccepted != isRefused(LibraryCheck::gates(download)),
                     download.body.constData());
            refused += isAccepted ? 0 : 1;
        }
        QVERIFY2(refused > 300 && refused < 2700, qPrintable(QString::number(refused)));
    }

    void tooManyFilesAreRefused()
    {
        QJsonArray files;
        for (int count = 0; count < 256; ++count)
            files.append(visual(1, u"001: a"_s));
        QVERIFY(!isRefused(LibraryCheck::gates(reply(document({folder(3, files)})))));
        files.append(visual(1, u"001: a"_s));
        const LibraryDownload download = reply(document({folder(3, files)}));
        QVERIFY(!LibraryCheck::read(download));
        QVERIFY(LibraryCheck::gates(download).constLast().text.contains(u"256 entries"_s));
    }

    void findingsOfALevelAreLimited()
    {
        QJsonArray folders;
        for (int number = 0; number < 1002; ++number)
            folders.append(number);
        const QList<Finding> refusals = LibraryCheck::gates(reply(document(folders)));
        const qsizetype count = std::ranges::count(refusals, Finding::Refused, &Finding::level);
        QCOMPARE(count, 1001);
        QCOMPARE(refusals.last().text, u"2 more"_s);

        // 1,000 times the same slot again, and as often another position.
        folders = {};
        for (int number = 0; number < 1001; ++number)
            folders.append(folder(3, {}));
        const LibraryDownload accepted = reply(document(folders));
        const QList<Finding> advice = LibraryCheck::advice(accepted, *LibraryCheck::read(accepted));
        QCOMPARE(advice.size(), 1001);
        QCOMPARE(advice.last().text, u"1000 more"_s);
    }

    void acceptedLibraryHasAnId()
    {
        const Expected<Server> server = LibraryCheck::read(reply(document({})));
        QVERIFY(server);
        QVERIFY(!server->uuid.isNull());
    }

    void adviceNamesWhatWorksBadly()
    {
        LibraryDownload download = reply(document(
            {folder(0, {visual(1, u"001: a"_s), visual(1, u"001: b"_s), visual(2, u"2: c"_s)}),
             folder(5, {}), folder(5, {})}));
        download.staysFresh = true;
        const QList<Finding> advice = LibraryCheck::advice(download, *LibraryCheck::read(download));
        QStringList lines;
        for (const Finding &finding : advice)
            lines.append(u"%1 %2/%3 %4"_s.arg(finding.subject)
                             .arg(finding.folder)
                             .arg(finding.slot)
                             .arg(finding.text.left(12)));
        QCOMPARE(lines,
                 (QStringList{u"cache -1/-1 library.json"_s, u"visual 0/1 another visu"_s,
                              u"visual 0/2 the name \"2:"_s, u"folder 5/-1 it is at pos"_s,
                              u"folder 5/-1 another fold"_s, u"folder 5/-1 it is at pos"_s}));
    }

    void adviceNamesThePositionOfAFolder()
    {
        const LibraryDownload download = reply(document({folder(256, {})}));
        const QList<Finding> advice = LibraryCheck::advice(download, *LibraryCheck::read(download));
        QCOMPARE(advice.size(), 1);
        QCOMPARE(advice.first().folder, 256);
        QCOMPARE(advice.first().text, u"it is at position 0; inside this folder the window sends "
                                      "commands for folder 0"_s);
    }

    void tidyLibraryGetsNoAdvice()
    {
        const LibraryDownload download =
            reply(document({folder(0, {visual(1, u"001: a"_s)}), folder(1, {})}));
        QCOMPARE(LibraryCheck::advice(download, *LibraryCheck::read(download)).size(), 0);
    }
};

QTEST_APPLESS_MAIN(tst_LibraryCheck)
#include "tst_LibraryCheck.moc"
