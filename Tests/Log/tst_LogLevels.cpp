// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"

#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

class tst_LogLevels final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        log = std::make_unique<LogCapture>();
    }

    void cleanup() { log.reset(); }

    void everyEntryHasItsLevel()
    {
        ZOR_LOG(debug, "one");
        ZOR_LOG(info, "two\n");
        ZOR_LOG(error, "%s", QByteArray(200, 'x').constData());
        QCOMPARE(log->entries(), (QStringList{u"debug: one"_s, u"info: two\\n"_s,
                                              u"error: "_s + QString(200, u'x')}));
    }

    void unformattableTextIsLoggedAsAnError()
    {
        const std::wstring noCharacter(1, wchar_t(0xD800));
        ZOR_LOG(debug, "before %ls", noCharacter.c_str());
        ZOR_LOG(info, "before %ls", noCharacter.c_str());
        QCOMPARE(log->entries(), QStringList(2, u"error: Error formatting the log line"_s));
    }

    void startIsInformation()
    {
        QCOMPARE(log->entries(), QStringList()); // the worker has written
        Zor::LogProbe::announceWorker(*Zor::Log::instance());
        QCOMPARE(log->entries(), QStringList());
        QFile file(log->path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("[info][ZorLog:216] Async log thread started"));
    }

private:
    std::unique_ptr<LogCapture> log;
};

QTEST_GUILESS_MAIN(tst_LogLevels)
#include "tst_LogLevels.moc"
