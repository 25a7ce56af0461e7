// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/FeatureList.h"

#include "Support/FailOnWarning.h"

#include <QTest>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

class tst_FeatureList final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void firstDigitIsTheValue_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("value");
        QTest::newRow("empty") << ""_ba << false;
        QTest::newRow("0") << "0"_ba << false;
        QTest::newRow("1") << "1"_ba << true;
        QTest::newRow("01") << "01"_ba << false;
        QTest::newRow("10") << "10"_ba << true;
    }
    void firstDigitIsTheValue()
    {
        QFETCH(const QByteArray, text);
        QTEST(featureListFromText(text).test(0), "value");
    }

    void otherCharacterThrows_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("first") << "x1"_ba;
        QTest::newRow("last") << "1x"_ba;
        QTest::newRow("blank") << "1 "_ba;
        QTest::newRow("NUL") << QByteArray("1\0", 2);
    }
    void otherCharacterThrows()
    {
        QFETCH(const QByteArray, text);
        QVERIFY_EXCEPTION_THROWN((void)featureListFromText(text), std::invalid_argument);
    }
};

QTEST_GUILESS_MAIN(tst_FeatureList)
#include "tst_FeatureList.moc"
