// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "System/StandardStreams.h"

#include "Support/Channels.h"
#include "Support/FailOnWarning.h"
#include "Support/ProcessUse.h"

#include <QTemporaryFile>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

using OpenChannel = std::unique_ptr<Channel> (*)();
Q_DECLARE_METATYPE(OpenChannel)

/// Writing to streams that may block the writer. Most of these tests hang if they fail.
class tst_StandardStreams final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void textArrivesWhole_data()
    {
        QTest::addColumn<OpenChannel>("open");
        QTest::newRow("pipe") << &openPipe;
        QTest::newRow("socket") << &openSocketPair;
        QTest::newRow("terminal") << &openTerminal;
    }
    void textArrivesWhole()
    {
        QFETCH(const OpenChannel, open);
        const std::unique_ptr<Channel> channel = open();
        QVERIFY(channel);
        const int mode = fcntl(channel->writer, F_GETFL);
        StandardStreams::writeAtOnce(channel->writer, "Bühne\n");
        QCOMPARE(channel->readUntil("\n"), "Bühne\n"_ba);
        QCOMPARE(fcntl(channel->writer, F_GETFL), mode);
    }

    void noDescriptorStaysOpen()
    {
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        const int before = ProcessUse::descriptors();
        StandardStreams::writeAtOnce(channel->writer, "text\n");
        StandardStreams::replaceClosed();
        QCOMPARE(ProcessUse::descriptors(), before);
    }

    void textIsAppendedToAFile()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        QCOMPARE(write(file.handle(), "one\n", 4), 4);
        StandardStreams::writeAtOnce(file.handle(), "two\n");
        StandardStreams::writeAtOnce(file.handle(), "three\n");
        QVERIFY(file.seek(0));
        QCOMPARE(file.readAll(), "one\ntwo\nthree\n"_ba);
    }

    void fullStreamDropsTheText_data()
    {
        textArrivesWhole_data();
        QTest::newRow("stopped terminal") << &openStoppedTerminal;
    }
    void fullStreamDropsTheText()
    {
        QFETCH(const OpenChannel, open);
        const std::unique_ptr<Channel> channel = open();
        QVERIFY(channel);
        channel->fill();
        StandardStreams::writeAtOnce(channel->writer, "dropped\n");
        tcflow(channel->writer, TCOON);
        QVERIFY(!channel->readAll().contains("dropped"));
    }

    void pipeOfAnotherUserGetsTextThatFits()
    {
        constexpr uid_t nobody = 65534;
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        QCOMPARE(fchmod(channel->writer, 0), 0);
        const int before = setfsuid(nobody);
        StandardStreams::writeAtOnce(channel->writer, "text\n");
        const QByteArray text = channel->readAll();
        channel->fill();
        StandardStreams::writeAtOnce(channel->writer, "dropped\n");
        setfsuid(uid_t(before));
        QCOMPARE(text, "text\n"_ba);
        QVERIFY(!channel->readAll().contains("dropped"));
    }

    void streamWithoutReaderDropsTheText_data() { textArrivesWhole_data(); }
    /// SIGPIPE would end the test.
    void streamWithoutReaderDropsTheText()
    {
        QFETCH(const OpenChannel, open);
        const std::unique_ptr<Channel> channel = open();
        QVERIFY(channel);
        channel->closeReader();
        StandardStreams::writeAtOnce(channel->writer, "dropped\n");
    }

    void closedStreamDropsTheText()
    {
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        const int closed = dup(channel->writer);
        close(closed);
        StandardStreams::writeAtOnce(closed, "dropped\n");
        QCOMPARE(channel->readAll(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_StandardStreams)
#include "tst_StandardStreams.moc"
