// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/FailOnWarning.h"

#include <spdlog/logger.h>

#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What entered the logger: the level, then the text without its source.
QStringList entered;

} // namespace

// A level decides nothing and shows in no line, so it can only be seen where a line enters the
// logger: this takes the place of the library's own function.
void spdlog::logger::log_it_(const details::log_msg &message, bool, bool)
{
    const auto line = QString::fromUtf8(message.payload.data(), qsizetype(message.payload.size()));
    entered << QString::number(message.level) + line.sliced(line.indexOf("] "_L1) + 1);
}

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
    std::unique_ptr<QTemporaryDir> directory;
};

void tst_LogLevels::init()
{
    failOnAnyWarning();
    directory = std::make_unique<QTemporaryDir>();
    Zor::Log::init(directory->filePath(u"Brenvoka.log"_s).toStdString());
    entered.clear();
}

void tst_LogLevels::cleanup()
{
    Zor::Log::release();
    directory.reset();
}

void tst_LogLevels::everyEntryHasItsLevel()
{
    ZOR_LOG(debug, "one");
    ZOR_LOG(info, "two\n");
    ZOR_LOG(error, "%s", QByteArray(200, 'x').constData());
    QCOMPARE(entered, (QStringList{u"1 one"_s, u"2 two\\n"_s, u"4 "_s + QString(200, u'x')}));
}

void tst_LogLevels::unformattableTextIsAnErrorWhateverItWasToBe()
{
    const std::wstring noCharacter(1, wchar_t(0xD800));
    ZOR_LOG(debug, "before %ls", noCharacter.c_str());
    ZOR_LOG(info, "before %ls", noCharacter.c_str());
    QCOMPARE(entered, QStringList(2, u"4 Error formatting the log line"_s));
}

void tst_LogLevels::startIsInformation()
{
    // The wait for the worker is short by design, so a busy machine misses it many times over.
    for (QDeadlineTimer patience(60000); entered.isEmpty() && !patience.hasExpired();)
        const Zor::Log log;
    QCOMPARE(entered.size(), 1);
    QVERIFY2(entered.first().startsWith(u"2 Async log thread started with thread id: "_s),
             qPrintable(entered.first()));
}

QTEST_GUILESS_MAIN(tst_LogLevels)
#include "tst_LogLevels.moc"
