// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/TransferProgress.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray idText = "{7d444840-9dc0-11d1-b245-5ffdce74fad2}";
const QUuid id(QString::fromLatin1(idText));

/// A message with these members of "sync", in which ID is replaced and ' is a quotation mark.
QByteArray message(QByteArray members)
{
    return QByteArray("{'msg_type':2,'sync':{" + members.replace("ID?", "'ID':'" + idText + "'") +
                      "}}")
        .replace('\'', '"');
}

/// What QJsonDocument reads, nothing for anything but a progress message.
std::optional<TransferProgress> readByQt(const QByteArray &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    if (object["msg_type"_L1].toInt(0) != 2)
        return std::nullopt;
    return TransferProgress::fromJson(object["sync"_L1].toObject());
}

} // namespace

Q_DECLARE_METATYPE(TransferProgress)

/// Progress messages, which are read without QJsonDocument if they have the usual form.
class tst_TransferProgress : public QObject
{
    Q_OBJECT

private slots:
    void usualFormIsRead_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<TransferProgress>("progress");

        const auto row = [](const char *name, const QByteArray &text,
                            const TransferProgress &progress) {
            QTest::newRow(name) << text << progress;
        };
        const TransferProgress usual{id, 1, 42, 77};
        const QByteArray members = "ID?,'STATUS':1,'CPERCENT':42,'SPEEDBPS':77";
        const QByteArray text = message(members);
        row("all keys", text, usual);
        row("blanks", " " + QByteArray(text).replace(':', "\t: ").replace("}}", "\n}\r }") + "\n",
            usual);
        row("type at the end", "{" + text.sliced(14, text.size() - 15) + ",\"msg_type\":2}", usual);
        row("other order", message("'SPEEDBPS':77,'CPERCENT':42,'STATUS':1,ID?"), usual);
        row("other keys", message("'FLDIDX':3,'A':'','SERVER':'http://b~ !'," + members), usual);
        row("longest numbers", message("ID?,'STATUS':0,'SPEEDBPS':999999999"),
            {id, 0, 0, 999999999});
        row("only an id", message("ID?"), {id});
        row("no id", message("'STATUS':1"), {{}, 1});
        row("not an id", message("'ID':'x','STATUS':1"), {{}, 1});
        row("twice the same key", message("ID?,'STATUS':2,'STATUS':1"), {id, 1});
        row("twice the same object",
            "{\"msg_type\":2,\"sync\":{\"STATUS\":1}," + message("ID?").sliced(14), {id});
    }
    void usualFormIsRead()
    {
        QFETCH(const QByteArray, text);
        const std::optional<TransferProgress> progress = TransferProgress::fromUsualText(text);
        QVERIFY(progress);
        QTEST(*progress, "progress");
        QVERIFY(readByQt(text) == progress);
    }

    void otherFormsAreNotRead_data()
    {
        QTest::addColumn<QByteArray>("text");

        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("empty object") << QByteArray("{}");
        QTest::newRow("other type") << message("ID?").replace('2', '3');
        QTest::newRow("no type") << QByteArray("{\"sync\":{\"STATUS\":1}}");
        QTest::newRow("type as a text") << message("ID?").replace(":2", ":\"2\"");
        QTest::newRow("other key outside") << message("ID?").chopped(1) + ",\"a\":1}";
        QTest::newRow("text after it") << message("ID?") + "x";
        QTest::newRow("second object") << message("ID?") + message("ID?");
        QTest::newRow("empty sync") << message("");
        for (const char *members : {"ID?,",
                                    ",ID?",
                                    "ID? 'A':1",
                                    "ID?,'A' 1",
                                    "ID?,A:1",
                                    "ID?,'A':",
                                    "'ID':7",
                                    "ID?,'STATUS':'1'",
                                    "ID?,'STATUS':-1",
                                    "ID?,'STATUS':01",
                                    "ID?,'STATUS':00",
                                    "ID?,'STATUS':1.5",
                                    "ID?,'STATUS':1e1",
                                    "ID?,'STATUS':1234567890",
                                    "ID?,'STATUS':",
                                    "ID?,'STATUS':null",
                                    "ID?,'A':{}",
                                    "ID?,'A':[]",
                                    "ID?,'A':true",
                                    "ID?,'A':'\\n'",
                                    "ID?,'A':'\xc3\xa4'",
                                    "ID?,'A':'\x1f'",
                                    "ID?,'A':'\x7f'",
                                    "ID?,'A':'b"})
            QTest::newRow(members) << message(members);
    }
    void otherFormsAreNotRead()
    {
        QFETCH(const QByteArray, text);
        QVERIFY(!TransferProgress::fromUsualText(text));
    }

    void everyBeginningIsIncomplete()
    {
        const QByteArray text = message("ID?,'STATUS':1,'SERVER':'b'");
        for (qsizetype size = 0; size < text.size(); ++size)
            QVERIFY(!TransferProgress::fromUsualText(text.first(size)));
    }

    // Texts with up to three faults. Whatever is read must be what QJsonDocument reads.
    void isReadLikeByQt()
    {
        const QByteArray text = message("ID?,'STATUS':1,'CPERCENT':42,'SPEEDBPS':77,'A':'b'");
        const QByteArray characters =
            QByteArray("{}[]\":,.-+eE0129 \t\n\r\\/\x01\x7f\xc3\xa4SIDAb");
        QRandomGenerator random(7);
        const auto number = [&random](qsizetype below) { return random.bounded(int(below)); };
        int read = 0;
        for (int round = 0; round < 100000; ++round) {
            QByteArray changed = text;
            for (int faults = number(4); faults > 0; --faults) {
                const QByteArray inserted = characters.sliced(number(characters.size()), 1);
                changed.replace(number(changed.size()), number(2), inserted.first(number(2)));
            }
            const std::optional<TransferProgress> progress =
                TransferProgress::fromUsualText(changed);
            read += progress.has_value();
            if (progress && readByQt(changed) != progress)
                QFAIL(qPrintable(QString::fromUtf8(changed)));
        }
        QVERIFY2(read > 30000, qPrintable(QString::number(read)));
    }
};

QTEST_APPLESS_MAIN(tst_TransferProgress)
#include "tst_TransferProgress.moc"
