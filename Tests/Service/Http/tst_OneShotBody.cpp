// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/OneShotBody.h"

#include "Support/FailOnWarning.h"

#include <QTest>

class tst_OneShotBody : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void isReadOnceInPieces()
    {
        OneShotBody body("one shot");
        QCOMPARE(body.openMode(), QIODevice::ReadOnly | QIODevice::Unbuffered);
        QCOMPARE(body.bytesAvailable(), 8);
        QCOMPARE(body.read(3), "one");
        QCOMPARE(body.bytesAvailable(), 5);
        QVERIFY(!body.atEnd());
        QCOMPARE(body.read(100), " shot");
        QVERIFY(body.atEnd());
        char byte = 0;
        QCOMPARE(body.read(&byte, 1), -1);
    }

    void cannotBeReadAgain()
    {
        OneShotBody body("one shot");
        QVERIFY(body.isSequential());
        QCOMPARE(body.read(3), "one");
        QVERIFY(!body.seek(0));
        QVERIFY(!body.reset());
        QCOMPARE(body.readAll(), " shot");
        QVERIFY(!body.reset());
    }

    void isNotWritable()
    {
        OneShotBody body("one shot");
        QCOMPARE(body.openMode() & QIODevice::WriteOnly, QIODevice::NotOpen);
    }
};

QTEST_APPLESS_MAIN(tst_OneShotBody)
#include "tst_OneShotBody.moc"
