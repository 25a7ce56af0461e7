// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/ResultDocument.h"
#include "Support/WireFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_ResultDocument : public QObject
{
    Q_OBJECT

private slots:
    void resultsOfTheWire_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("success");
        QTest::addColumn<QString>("message");

        const QJsonArray results = QJsonDocument::fromJson(wireFile(u"results.json"_s)).array();
        QVERIFY(results.size() >= 11);
        for (const QJsonValue &result : results) {
            const QByteArray body = result["body"_L1].toString().toUtf8();
            QTest::newRow(body.isEmpty() ? "empty" : body.constData())
                << body << result["success"_L1].toBool() << result["message"_L1].toString();
        }
    }
    void resultsOfTheWire() { check(); }

    void unusualBodies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("success");
        QTest::addColumn<QString>("message");

        const QString invalid = u"Invalid response data"_s;
        QTest::newRow("ends at the first NUL")
            << QByteArray("{\"msg_type\":7,\"RESULT\":1}N{}").replace('N', '\0') << false
            << u"Visual is in use"_s;
        QTest::newRow("array") << "[7]"_ba << false << invalid;
        QTest::newRow("no msg_type") << R"({"RESULT":0})"_ba << false << invalid;
        QTest::newRow("msg_type as text")
            << R"({"msg_type":"7","RESULT":0})"_ba << false << invalid;
        QTest::newRow("no result reads as 0") << R"({"msg_type":7})"_ba << true << u""_s;
        QTest::newRow("result as text reads as 0")
            << R"({"msg_type":7,"RESULT":"1"})"_ba << true << u""_s;
        QTest::newRow("result as fraction reads as 0")
            << R"({"msg_type":7,"RESULT":1.5})"_ba << true << u""_s;
        QTest::newRow("result as object reads as 0")
            << R"({"msg_type":7,"RESULT":{"RESULT":1}})"_ba << true << u""_s;
        QTest::newRow("result beyond the range reads as 0")
            << R"({"msg_type":7,"RESULT":1e30})"_ba << true << u""_s;
        QTest::newRow("result given twice") << R"({"msg_type":7,"RESULT":0,"RESULT":4})"_ba << false
                                            << u"Media library folder is in use"_s;
        QTest::newRow("msg_type as fraction")
            << R"({"msg_type":7.5,"RESULT":0})"_ba << false << invalid;
        QTest::newRow("one document more")
            << R"({"msg_type":7,"RESULT":0}{})"_ba << false << invalid;
        QTest::newRow("breaks off") << R"({"msg_type":7,"RESULT":0)"_ba << false << invalid;
        QTest::newRow("too deep") << "{\"msg_type\":7,\"RESULT\":"_ba + "["_ba.repeated(5000) +
                                         "]"_ba.repeated(5000) + '}'
                                  << false << invalid;
        QTest::newRow("unknown result") << R"({"msg_type":7,"RESULT":6})"_ba << false << u""_s;
        QTest::newRow("negative result") << R"({"msg_type":7,"RESULT":-1})"_ba << false << u""_s;
        QTest::newRow("text of another code is not read")
            << R"({"msg_type":7,"RESULT":2,"ERROR":"x"})"_ba << false << u"Unknown failure"_s;
        QTest::newRow("text that is not a string")
            << R"({"msg_type":7,"RESULT":3,"ERROR":5})"_ba << false << u""_s;
        QTest::newRow("text is not changed")
            << R"({"msg_type":7,"RESULT":3,"ERROR":" <b>%1 ü"})"_ba << false << u" <b>%1 ü"_s;
    }
    void unusualBodies() { check(); }

private:
    static void check()
    {
        QFETCH(const QByteArray, body);
        const Outcome outcome = ResultDocument::parse(body);
        QTEST(outcome.success, "success");
        QTEST(outcome.message, "message");
    }
};

QTEST_APPLESS_MAIN(tst_ResultDocument)
#include "tst_ResultDocument.moc"
