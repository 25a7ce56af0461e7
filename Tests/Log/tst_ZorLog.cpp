// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/LogCapture.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_ZorLog final : public QObject
{
    Q_OBJECT

private slots:
    void callsWithoutALogAreDropped();
    void textOfAnyLengthArrivesWhole_data();
    void textOfAnyLengthArrivesWhole();
};

void tst_ZorLog::callsWithoutALogAreDropped()
{
    QVERIFY(!Zor::Log::instance());
    ZOR_LOG(info, "to nobody: %d", 1);
    LogCapture capture;
    QCOMPARE(capture.texts(), QStringList());
}

void tst_ZorLog::textOfAnyLengthArrivesWhole_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 126, 127, 128, 129, 1023, 20000})
        QTest::addRow("%d bytes", length) << length;
}

void tst_ZorLog::textOfAnyLengthArrivesWhole()
{
    QFETCH(const int, length);
    const QByteArray text(length, 'x');
    LogCapture capture;
    ZOR_LOG(info, "%s", text.constData());
    QCOMPARE(capture.texts(), QStringList(QString::fromUtf8(text)));
}

QTEST_GUILESS_MAIN(tst_ZorLog)
#include "tst_ZorLog.moc"
