// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/AnsweringServer.h"
#include "Benchmarks/Comparison.h"
#include "Controller/ControllerFixture.h"
#include "Dialogs/TransferDialog.h"
#include "Support/LogCapture.h"
#include "Support/LoopWatch.h"

#include <QCheckBox>
#include <QTemporaryFile>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray fullDocument(const QString &content)
{
    return libraryDocument(fullServer(content).folders, content).toJson(QJsonDocument::Compact);
}

/// A server that announces itself only to the test.
class ShownServer final
{
public:
    ShownServer(int number, const QByteArray &document, const QByteArray &picturePath)
        : answers(loopback(number),
                  {"/brenvoka/library.json=" + written(library, document),
                   "/brenvoka/notifier.html=" + written(stream, QByteArray("{}\0", 3)),
                   "/brenvoka/thumbnails/=" + picturePath, "reports=65280"})
    {
    }

    const QUuid uuid = QUuid::createUuid();

private:
    static QByteArray written(QTemporaryFile &file, const QByteArray &content)
    {
        if (!file.open() || file.write(content) != content.size() || !file.flush())
            qFatal("Cannot write a file");
        return file.fileName().toUtf8();
    }

    QTemporaryFile library;
    QTemporaryFile stream;

public:
    const AnsweringServer answers;
};

} // namespace

/// How long the window stands still during one action, and during the largest synchronisation. A
/// row compares the most processor time between two turns of the event loop with a limit in
/// milliseconds. On a machine that is slower than the one for which the limits are meant, they are
/// longer: a fixed piece of work is measured in the same run.
class tst_StandstillBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QPixmapCache::setCacheLimit(40960); // like the program
        const QByteArray document = fullDocument(u"a"_s);
        qInfo("A library of %.1f MB", double(document.size()) / 1e6);
        slowness = slownessOfMachine(document);
        QVERIFY(picture.open());
        QVERIFY(thumbnailOf(1).save(&picture, "PNG"));
        const QByteArray path = picture.fileName().toUtf8();
        full = std::make_unique<ShownServer>(1, document, path);
        other = std::make_unique<ShownServer>(2, fullDocument(u"b"_s), path);
        connectServer(*full, u"Full"_s);
        connectServer(*other, u"Other"_s);
        QVERIFY(fixture.show());
    }

    void clickOnAFolder()
    {
        measure(
            "click on a folder", 50, [this] { doubleClickRow(fixture.bankA(), 3); },
            [this] { return isFolderShown(); }, [this] { goBack(); });
    }
    void back()
    {
        measure(
            "Back", 50, [this] { goBack(); }, [this] { return !isFolderShown(); },
            [this] { openFolder(); });
        goBack();
    }
    void changeOfSize()
    {
        int size = 0;
        measure("change of the size", 50, [&] { click(sizeButtons[++size % 3]); });
        click(sizeButtons[0]);
    }
    void changeOfView()
    {
        int view = 0;
        measure("change of the view", 50, [&] { click(viewButtons[++view % 2]); });
    }
    void choiceOfAServer()
    {
        const QString names[] = {u"Full"_s, u"Other"_s};
        int chosen = 0;
        measure("choice of a server", 50, [&] {
            ControllerFixture::choose(fixture.bankA(), names[++chosen % 2]);
            ControllerFixture::choose(fixture.bankB(), names[(chosen + 1) % 2]);
        });
        ControllerFixture::choose(fixture.bankA(), names[0]);
        ControllerFixture::choose(fixture.bankB(), names[1]);
    }
    void libraryThatArrives()
    {
        const MediaFolder *former = nullptr;
        const auto folders = [this] {
            return fixture.controller().connectedServer(full->uuid).folders.constData();
        };
        measure(
            "library of 6 MB that arrives", 60,
            [&] {
                former = folders();
                fixture.controller().serverLibraryChanged(full->uuid);
            },
            [&] { return folders() != former; });
    }
    void largestSynchronisation()
    {
        fixture.model.warningLevel = 0; // as soon as the warning is answered
        for (const bool autoScroll : {false, true})
            measureSynchronisation(autoScroll);
    }

private:
    static constexpr const char *sizeButtons[] = {"smallSizeButton", "mediumSizeButton",
                                                  "largeSizeButton"};
    static constexpr const char *viewButtons[] = {"listModeButton", "gridModeButton"};

    /// At least 1. The library is parsed in 18 ms on the machine for which the limits are meant.
    static double slownessOfMachine(const QByteArray &document)
    {
        QList<double> times;
        for (int run = 0; run < 7; ++run)
            times.append(processorTime([&] { (void)QJsonDocument::fromJson(document); }));
        qInfo("Parsing of the library: %.1f ms", median(times));
        return std::max(1.0, median(times) / 18);
    }

    void connectServer(const ShownServer &server, const QString &name)
    {
        fixture.controller().addServer(server.uuid, server.answers.address(), 8, name);
        EVENTUALLY(ControllerFixture::offered(fixture.bankA()).contains(name));
    }
    void click(const char *button) { fixture.find<QPushButton>(button).click(); }
    void goBack() { doubleClickRow(fixture.bankA(), 0); }
    void openFolder()
    {
        doubleClickRow(fixture.bankA(), 3);
        EVENTUALLY(isFolderShown());
    }
    [[nodiscard]] bool isFolderShown() const
    {
        const auto isFull = [](const BVServerBank &bank) {
            return listOf(bank).count() == 257 && bank.isEnabled();
        };
        return isFull(fixture.bankA()) && isFull(fixture.bankB());
    }

    /// Runs the event loop until everything that was requested has been painted.
    static void settle()
    {
        int turns = 0;
        (void)waitFor([&] { return ++turns == 20; });
    }

    void print(const char *work, double limit, const QList<double> &processor,
               const QList<double> &clock) const
    {
        const QByteArray name = "standstill: " + QByteArray(work);
        const QByteArray baseline = QByteArray::number(limit) + " ms";
        Row{name.constData(), baseline.constData(), 1, 1}.print(
            median(processor) / (limit * slowness),
            u"%1 (by the clock %2)"_s.arg(median(processor)).arg(median(clock)));
    }

    template <typename Action, typename Done, typename Undo>
    void measure(const char *work, double limit, Action action, Done done, Undo undo)
    {
        QList<double> processor;
        QList<double> clock;
        for (int run = 0; run < 7; ++run) {
            settle();
            const LoopWatch watch;
            action();
            EVENTUALLY(done());
            settle();
            processor.append(double(watch.longestWork()));
            clock.append(double(watch.longestGap()));
            undo();
        }
        print(work, limit, processor, clock);
    }
    template <typename Action, typename Done>
    void measure(const char *work, double limit, Action action, Done done)
    {
        measure(work, limit, action, done, [] {});
    }
    template <typename Action>
    void measure(const char *work, double limit, Action action)
    {
        measure(work, limit, action, [] { return true; });
    }

    void measureSynchronisation(bool autoScroll)
    {
        settle();
        LoopWatch watch;
        const auto record = [&](const char *work, double limit) {
            print(work, limit, {double(watch.longestWork())}, {double(watch.longestGap())});
            watch.restart();
        };
        click("leftToRightButton");
        const TransferDialog *dialog = nullptr;
        EVENTUALLY((dialog = fixture.window->findChild<TransferDialog *>()));
        QCoreApplication::processEvents();
        record("start of the largest sync", 250);
        dialog->findChild<QCheckBox *>()->setChecked(autoScroll);
        QEventLoop loop;
        connect(dialog, &QObject::destroyed, &loop, &QEventLoop::quit);
        loop.exec();
        record(autoScroll ? "the whole of it with \"Auto Scroll\"" : "the whole of it", 100);
    }

    const LogCapture log; // as in the program
    WindowFixture fixture;
    QTemporaryFile picture;
    std::unique_ptr<ShownServer> full;
    std::unique_ptr<ShownServer> other;
    double slowness = 1;
};

QTEST_MAIN(tst_StandstillBenchmark)
#include "tst_StandstillBenchmark.moc"
