// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Support/WireFile.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray bodyOnTheWire(const QString &name)
{
    const QByteArray request = wireFile(name);
    return request.mid(request.indexOf("\r\n\r\n") + 4);
}

} // namespace

class tst_CommandBodies : public QObject
{
    Q_OBJECT

private slots:
    void requestMatchesTheWireFile()
    {
        QCOMPARE(CommandBodies::sync(u"http://127.0.0.2:4567"_s, {3, 17}),
                 bodyOnTheWire(u"sync-folder-3-slot-17-from-127.0.0.2.http"_s));
        QCOMPARE(CommandBodies::remove({3, 17}), bodyOnTheWire(u"remove-folder-3-slot-17.http"_s));
        QCOMPARE(CommandBodies::move(3, 7, 12),
                 bodyOnTheWire(u"move-folder-3-slot-7-to-12.http"_s));
        QCOMPARE(CommandBodies::cancelSyncs(), bodyOnTheWire(u"cancel-syncs.http"_s));
        QCOMPARE(CommandBodies::rename({3, u"Opening night"_s}),
                 bodyOnTheWire(u"rename-folder-3-to-Opening_night.http"_s));
    }

    void folderNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("encoded");
        QTest::newRow("empty") << u""_s << ""_ba;
        QTest::newRow("null") << QString() << ""_ba;
        QTest::newRow("ampersand, equals and hash") << u"a&b=c#d"_s << "a%26b%3Dc%23d"_ba;
        QTest::newRow("umlaut and beyond") << u"ü舞"_s << "%C3%BC%E8%88%9E"_ba;
        QTest::newRow("two units of UTF-16") << u"\U0001F3AD"_s << "%F0%9F%8E%AD"_ba;
        QTest::newRow("half of a pair becomes a question mark") << QString(QChar(0xd83c)) << "?"_ba;
        QTest::newRow("quotation marks and brackets") << u"\"<x>\""_s << "%22%3Cx%3E%22"_ba;
        QTest::newRow("line break") << u"a\r\nb"_s << "a%0D%0Ab"_ba;
        QTest::newRow("plus is not changed") << u"a+b"_s << "a+b"_ba;
        QTest::newRow("percent triple is not changed") << u"a%20b"_s << "a%20b"_ba;
        QTest::newRow("lone percent") << u"50% x"_s << "50%25%20x"_ba;
    }
    void folderNames()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, encoded);
        QCOMPARE(CommandBodies::rename({3, name}),
                 "req_type=5&folderIdx=3&folderName=" + encoded + "&ver=281474976710656");
    }

    void numbersAreDecimal()
    {
        QCOMPARE(CommandBodies::remove({255, -1}),
                 "req_type=2&folderIdx=255&visualIdx=-1&ver=281474976710656"_ba);
    }
};

QTEST_APPLESS_MAIN(tst_CommandBodies)
#include "tst_CommandBodies.moc"
