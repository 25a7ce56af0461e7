// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Support/Sandbox.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A display without a screen: the programs use the same platform as on a real one.
class Display final
{
public:
    Display()
    {
        server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1920x1080x24"_s,
                                 u"-nolisten"_s, u"tcp"_s});
        if (!server.waitForReadyRead())
            qFatal("Xvfb does not start");
        qputenv("DISPLAY", ":" + server.readAll().trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    ~Display()
    {
        server.terminate();
        server.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Display)

private:
    QProcess server;
};

} // namespace

/// How long the operator waits for the window, by the clock, and the memory that it then has.
class tst_StartBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void firstPaintedWindow()
    {
        const Sandbox sandbox;
        const Display display;
        Comparison time;
        Comparison memory;
        for (int run = 0; run < 21; ++run) {
            const Use empty = useOf(QStringLiteral(BRENVOKA_EMPTY_WINDOW));
            const Use program = useOf(QStringLiteral(BRENVOKA_PROGRAM));
            time.add(program.time, empty.time);
            memory.add(program.memory, empty.memory);
        }
        const char *const baseline = "an empty `QMainWindow` program";
        time.print({"start to the first painted window", baseline, 1.7, 1.4});
        memory.print({"memory then", baseline, 1.5, 1.4, "MB"});
    }

private:
    struct Use
    {
        double time;
        double memory;
    };
    static Use useOf(const QString &program)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"LD_PRELOAD"_s, QStringLiteral(BRENVOKA_FIRST_PAINT));
        QProcess process;
        process.setProcessEnvironment(environment);
        QElapsedTimer timer;
        timer.start();
        process.start(program, {});
        process.waitForFinished();
        const double time = double(timer.nsecsElapsed()) / 1e6;
        const QList<QByteArray> lines = process.readAllStandardOutput().trimmed().split('\n');
        const double memory = lines.constLast().toDouble();
        if (memory <= 0)
            qFatal("%s does not paint a window", qPrintable(program));
        return {time, memory};
    }
};

QTEST_GUILESS_MAIN(tst_StartBenchmark)
#include "tst_StartBenchmark.moc"
