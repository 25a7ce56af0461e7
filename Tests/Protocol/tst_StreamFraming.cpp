// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/StreamFraming.h"

#include "Support/FramingModel.h"
#include "Support/WireFile.h"

#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList textsOf(const QList<StreamFraming::Message> &messages)
{
    QStringList texts;
    for (const StreamFraming::Message &message : messages)
        texts.append(
            QString::fromUtf8(std::get<QJsonDocument>(message).toJson(QJsonDocument::Compact)));
    return texts;
}

} // namespace

/// The messages in bytes of the notification stream. The tables have an N for each NUL.
class tst_StreamFraming : public QObject
{
    Q_OBJECT

private slots:
    void chunks_data()
    {
        QTest::addColumn<QStringList>("chunks");
        QTest::addColumn<QStringList>("documents");
        QTest::addColumn<QString>("rest");

        const auto row = [](const char *name, const QStringList &chunks,
                            const QStringList &documents, const QString &rest) {
            QTest::newRow(name) << chunks << documents << rest;
        };
        row("one frame", {u"{}N"_s}, {u"{}"_s}, {});
        row("two terminators in a row", {u"{}NN[]N"_s}, {u"{}"_s, u"[]"_s}, {});
        row("terminator at the very start", {u"N{}N"_s}, {u"{}"_s}, {});
        row("nothing but terminators", {u"NNN"_s}, {}, {});
        row("empty chunk", {u"{"_s, {}, u"}N"_s}, {u"{}"_s}, {});
        row("two frames and half of a third", {u"{}N[]N{\"a\""_s}, {u"{}"_s, u"[]"_s}, u"{\"a\""_s);
        row("second half of the third", {u"{}N[]N{\"a\""_s, u":1}N"_s},
            {u"{}"_s, u"[]"_s, u"{\"a\":1}"_s}, {});
        row("chunk without a terminator is only appended", {u"{}"_s, u"{"_s}, {}, u"{}{"_s);
        row("chunk of only a terminator", {u"{}"_s, u"N"_s}, {u"{}"_s}, {});
        row("whole document after a terminator", {u"N{}"_s}, {u"{}"_s}, {});
        row("frame that is not JSON blocks the stream", {u"xN{}N"_s, u"{}N"_s, u"{}N"_s}, {u"{}"_s},
            u"x{}{}"_s);
        row("two documents in one frame block the stream", {u"{}{}N"_s, u"[]N"_s, u"{}N"_s}, {},
            u"{}{}[]{}"_s);
        row("pieces that do not parse are joined", {u"xN{}NyN{}Nz"_s}, {u"{}"_s, u"{}"_s},
            u"xyz"_s);
        row("a kept piece may be completed", {u"{\"a\":N"_s, u"1}N"_s}, {u"{\"a\":1}"_s}, {});
        row("a number is no document", {u"7N"_s}, {}, u"7"_s);
    }
    void chunks()
    {
        QFETCH(const QStringList, chunks);
        QFETCH(const QStringList, documents);
        QFETCH(const QString, rest);
        QByteArray buffer;
        QStringList taken;
        for (const QString &chunk : chunks) {
            const QByteArray bytes = chunk.toUtf8().replace('N', '\0');
            taken += textsOf(FramingModel::takeMessages(buffer, bytes));
        }
        QCOMPARE(taken, documents);
        QCOMPARE(buffer, rest.toUtf8());
    }

    void everyChunkSizeGivesTheSameMessages()
    {
        const QByteArray stream = wireFile(u"stream.bin"_s);
        QByteArray wholeBuffer;
        const QList<QJsonDocument> documents = FramingModel::takeDocuments(wholeBuffer, stream);
        QCOMPARE(documents.size(), 8);
        for (qsizetype size = 1; size <= stream.size(); ++size) {
            QByteArray buffer;
            QList<StreamFraming::Message> messages;
            for (qsizetype at = 0; at < stream.size(); at += size)
                messages += FramingModel::takeMessages(buffer, stream.mid(at, size));
            QVERIFY(FramingModel::areSame(messages, documents));
            QCOMPARE(buffer, QByteArray());
        }
    }

    // Well-formed or not, and in any chunks: the same as splitting the whole buffer each time.
    void matchesTheSimpleModel()
    {
        const QByteArray bytes =
            QByteArray("N{}NN[1]N{\"a\":\"bc\"}N{}{N}N {}N\xff[]NN[][]N{}N{").replace('N', '\0');
        for (qsizetype start = 0; start < bytes.size(); ++start) {
            for (qsizetype size = 1; size <= bytes.size(); ++size) {
                QByteArray buffer;
                QByteArray modelBuffer;
                for (qsizetype at = start; at < bytes.size(); at += size) {
                    const QByteArray chunk = bytes.mid(at, size);
                    QVERIFY(FramingModel::areSame(FramingModel::takeMessages(buffer, chunk),
                                                  FramingModel::takeDocuments(modelBuffer, chunk)));
                    QCOMPARE(buffer, modelBuffer);
                }
            }
        }
    }

    void keptPieceOutlivesItsChunk()
    {
        QByteArray buffer;
        {
            QByteArray chunk = QByteArray("N{\"key\":").replace('N', '\0');
            QVERIFY(FramingModel::takeMessages(buffer, chunk).isEmpty());
            chunk.fill('#');
        }
        const auto messages =
            FramingModel::takeMessages(buffer, QByteArray("1}N").replace('N', '\0'));
        QCOMPARE(textsOf(messages), QStringList{u"{\"key\":1}"_s});
    }
};

QTEST_APPLESS_MAIN(tst_StreamFraming)
#include "tst_StreamFraming.moc"
