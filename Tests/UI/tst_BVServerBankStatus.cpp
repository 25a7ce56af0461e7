// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/EventCount.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;

/// The controls around the list of a bank: the server box, the connection and the rates.
class tst_BVServerBankStatus final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void serversAreOfferedInTheGivenOrder()
    {
        WindowFixture fixture;
        QList<QUuid> known;
        for (const QString &name : {u"One"_s, u"Two"_s, u"Three"_s, u"Four"_s}) {
            fixture.connectServer(sampleServer(name, loopback(1)));
            known.append(fixture.model.servers.last()->uuid);
        }
        BVServerBank &bank = fixture.bankA();
        const auto &box = childOf<QComboBox>(bank, "serverComboBox");
        const QList<QList<int>> refills{{0, 1, 2, 3}, {1, 3},    {3, 1}, {0, 3, 2, 1}, {2}, {},
                                        {3, 2, 1, 0}, {0, 2, 0}, {0, 2}, {1, 3, 0}};
        for (const QList<int> &refill : refills) {
            QList<QUuid> wanted;
            for (const int number : refill)
                wanted.append(known.at(number));
            bank.setServers(wanted);
            QList<QUuid> offered;
            for (int row = 0; row < box.count(); ++row) {
                offered.append(box.itemData(row).toUuid());
                QCOMPARE(box.itemText(row), fixture.model.connectedServer(offered.last()).name);
            }
            QCOMPARE(offered, wanted);
            QCOMPARE(box.currentIndex(), -1);
            QCOMPARE(bank.isEnabled(), !refill.isEmpty());
        }
    }

    void aRefillShowsANewName()
    {
        OneServerFixture fixture;
        fixture.model.setServerName(fixture.server.uuid, u"Uno"_s);
        fixture.bankA().setServers({fixture.server.uuid});
        QCOMPARE(childOf<QComboBox>(fixture.bankA(), "serverComboBox").itemText(0), u"Uno"_s);
    }

    void theOpenListIsAsWideAsItsNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("narrowest");
        QTest::addColumn<int>("broadest");
        QTest::newRow("short") << u"One"_s << 350 << 350;
        QTest::newRow("wider than the box") << u"W"_s.repeated(40) << 450 << 700;
        QTest::newRow("wider than it may be") << u"W"_s.repeated(115) << 700 << 700;
    }
    void theOpenListIsAsWideAsItsNames()
    {
        QFETCH(const QString, name);
        QFETCH(const int, narrowest);
        QFETCH(const int, broadest);
        WindowFixture fixture;
        fixture.connectServer(sampleServer(name, loopback(1)));
        QVERIFY(fixture.show());
        auto &box = childOf<QComboBox>(fixture.bankA(), "serverComboBox");
        box.showPopup();
        EVENTUALLY(box.view()->isVisible());
        const int width = box.view()->width();
        const int hint = box.view()->sizeHintForColumn(0);
        box.hidePopup();
        QVERIFY2(width >= narrowest && width <= broadest, qPrintable(QString::number(width)));
        constexpr int tick = 40; // at least; the hint leaves it out
        QVERIFY2(width >= qMin(hint + tick, broadest), qPrintable(QString::number(hint)));
    }

    void theSameReportSetsNothingAgain()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        for (const bool connected : {true, false}) {
            fixture.bankA().setConnectionStatus(connected, 59.94F, 1234567);
            QCoreApplication::processEvents();
            for (const char *name : {"serverStatusLabel", "cpuValueLabel", "gpuValueLabel"}) {
                const EventCount events(childOf<QLabel>(fixture.bankA(), name));
                fixture.bankA().setConnectionStatus(connected, 59.94F, 1234567);
                QCoreApplication::processEvents();
                QCOMPARE(events.of(QEvent::StyleChange), 0);
                QCOMPARE(events.of(QEvent::FontChange), 0);
                QCOMPARE(events.of(QEvent::Paint), 0);
            }
        }
    }

    void aRateOfAsManyDigitsKeepsItsFont()
    {
        WindowFixture fixture;
        fixture.bankA().setConnectionStatus(true, 59.94F, 60);
        auto &cpu = childOf<QLabel>(fixture.bankA(), "cpuValueLabel");
        const EventCount events(cpu);
        for (int rate = 10; rate < 90; ++rate)
            fixture.bankA().setConnectionStatus(true, float(rate), 60);
        QCOMPARE(cpu.text(), u"89.00"_s);
        QCOMPARE(events.of(QEvent::FontChange), 0);
        QCOMPARE(events.of(QEvent::StyleChange), 0);
    }

    void aLongRateIsShownInSmallerDigits()
    {
        WindowFixture fixture;
        for (const char *name : {"cpuValueLabel", "gpuValueLabel"}) {
            const auto &label = childOf<QLabel>(fixture.bankA(), name);
            fixture.bankA().setConnectionStatus(true, 9, 9);
            const int size = label.font().pointSize();
            fixture.bankA().setConnectionStatus(true, 1234567, 1234567);
            QVERIFY(label.font().pointSize() < size);
            fixture.bankA().setConnectionStatus(true, 9, 9);
            QCOMPARE(label.font().pointSize(), size);
        }
    }
};

QTEST_MAIN(tst_BVServerBankStatus)
#include "tst_BVServerBankStatus.moc"
