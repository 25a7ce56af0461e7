// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/EnteredLog.h"
#include "Support/FailOnWarning.h"

#include <QDeadlineTimer>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class tst_LogLevels final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyEntryHasItsLevel();
    void unformattableTextIsAnErrorWhateverItWasToBe();
    void startIsInformation();

private:
    std::unique_ptr<EnteredLog> log;
};

void tst_LogLevels::init()
{
    failOnAnyWarning();
    log = std::make_unique<EnteredLog>();
}

void tst_LogLevels::cleanup()
{
    log.reset();
}

void tst_LogLevels::everyEntryHasItsLevel()
{
    ZOR_LOG(debug, "one");
    ZOR_LOG(info, "two\n");
    ZOR_LOG(error, "%s", QByteArray(200, 'x').constData());
    QCOMPARE(log->lines, (QStringList{u"1 one"_s, u"2 two\\n"_s, u"4 "_s + QString(200, u'x')}));
}

void tst_LogLevels::unformattableTextIsAnErrorWhateverItWasToBe()
{
    const std::wstring noCharacter(1, wchar_t(0xD800));
    ZOR_LOG(debug, "before %ls", noCharacter.c_str());
    ZOR_LOG(info, "before %ls", noCharacter.c_str());
    QCOMPARE(log->lines, QStringList(2, u"4 Error formatting the log line"_s));
}

void tst_LogLevels::startIsInformation()
{
    // The wait for the worker is short by design, so a busy machine misses it many times over.
    for (QDeadlineTimer patience(60000); log->lines.isEmpty() && !patience.hasExpired();)
        const Zor::Log another;
    QCOMPARE(log->lines.size(), 1);
    QVERIFY2(log->lines.first().startsWith(u"2 Async log thread started with thread id: "_s),
             qPrintable(log->lines.first()));
}

QTEST_GUILESS_MAIN(tst_LogLevels)
#include "tst_LogLevels.moc"
