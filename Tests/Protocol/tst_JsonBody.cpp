// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/JsonBody.h"

#include "Model/Server.h"
#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_JsonBody final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void bodies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QJsonObject>("object");
        const QJsonObject object{{u"a"_s, 1}};
        const auto text = [](const QString &value) { return QJsonObject{{u"a"_s, value}}; };
        QTest::newRow("object") << "{\"a\":1}"_ba << object;
        QTest::newRow("white space around") << " \r\n{ \"a\" : 1 }\n"_ba << object;
        QTest::newRow("byte order mark") << "\xef\xbb\xbf{\"a\":1}"_ba << object;
        QTest::newRow("text ends at the first NUL")
            << QByteArray("{\"a\":1}\0{\"b\":2}", 15) << object;
        QTest::newRow("NUL within the object") << QByteArray("{\"a\"\0:1}", 8) << QJsonObject();
        QTest::newRow("NUL at once") << QByteArray("\0{\"a\":1}", 8) << QJsonObject();
        QTest::newRow("UTF-8") << "{\"a\":\"B\xc3\xbchne\"}"_ba << text(u"Bühne"_s);
        QTest::newRow("invalid UTF-8 is replaced") << "{\"a\":\"\xff\"}"_ba << text(u"\uFFFD"_s);
        QTest::newRow("escaped NUL stays")
            << "{\"a\":\"x\\u0000y\"}"_ba << text(QString::fromLatin1("x\0y", 3));
        QTest::newRow("text after the object") << "{\"a\":1} x"_ba << QJsonObject();
        QTest::newRow("empty") << QByteArray() << QJsonObject();
        QTest::newRow("array") << "[1]"_ba << QJsonObject();
        QTest::newRow("cut short") << "{\"a\":1"_ba << QJsonObject();
        QTest::newRow("no JSON") << "<html></html>"_ba << QJsonObject();
    }
    void bodies()
    {
        QFETCH(const QByteArray, body);
        QTEST(jsonObjectFromBody(body), "object");
    }

    void bodyWithoutAnObjectIsNoLibrary_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << "404 Not Found"_ba;
        QTest::newRow("cut short") << "{\"folders\":[],\"hash\":\"\""_ba;
        QTest::newRow("array") << "[]"_ba;
    }
    void bodyWithoutAnObjectIsNoLibrary()
    {
        QFETCH(const QByteArray, body);
        Server server;
        QVERIFY(!server.fromJson(jsonObjectFromBody(body)));
    }
};

QTEST_GUILESS_MAIN(tst_JsonBody)
#include "tst_JsonBody.moc"
