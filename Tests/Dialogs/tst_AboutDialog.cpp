// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"

#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QResource>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// Q_CLEANUP_RESOURCE and Q_INIT_RESOURCE declare functions of the global namespace.
static void takeResourcesAway()
{
    Q_CLEANUP_RESOURCE(Resources);
}

static void bringResourcesBack()
{
    Q_INIT_RESOURCE(Resources);
}

namespace {

QString text(const AboutDialog &dialog, QStringView label)
{
    return dialog.findChild<QLabel *>(label.toString())->text();
}

} // namespace

class TestAboutDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void showsNameVersionAndCredits()
    {
        const AboutDialog dialog(nullptr);
        QCOMPARE(dialog.windowTitle(), u"About Zorvik Brenvoka 1.0.3"_s);
        QCOMPARE(text(dialog, u"infoLabel"), u"Zorvik Brenvoka"_s);
        QCOMPARE(text(dialog, u"labelVersion"), u"Version 1.0.3"_s);
        QVERIFY(text(dialog, u"labelCopyRight").startsWith("Copyright"_L1));
        QVERIFY(text(dialog, u"labelTeam").startsWith("Made by"_L1));
        QVERIFY(dialog.findChild<QLabel *>(u"infoLabel"_s)->font().bold());
    }

    void hasRoomForTheCredits()
    {
        const AboutDialog dialog(nullptr);
        QCOMPARE(dialog.size(), QSize(363, 257));
        QCOMPARE(dialog.findChild<QLabel *>(u"labelTeam"_s)->minimumHeight(), 130);
    }

    void creditsLoseTheMarksOfQuotedText()
    {
        QFile file(u":/text/Docs/team.txt"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const auto lines = QString::fromUtf8(file.readAll()).split(u'\n');
        const AboutDialog dialog(nullptr);
        const auto copyright = text(dialog, u"labelCopyRight");
        const auto team = text(dialog, u"labelTeam");
        QCOMPARE(lines.at(0), u"u8\""_s + copyright + u'"');
        QCOMPARE(lines.at(1), u"u8\""_s + team + u'"');
        QVERIFY(!copyright.contains(u'"') && !team.contains(u'"'));
    }

    void missingCreditsKeepTheTextOfTheForm()
    {
        takeResourcesAway();
        const auto back = qScopeGuard(bringResourcesBack);
        QVERIFY(!QFile::exists(u":/text/Docs/team.txt"_s));
        AboutDialog dialog(nullptr);
        QCOMPARE(text(dialog, u"labelCopyRight"), u"TextLabel"_s);
        QCOMPARE(text(dialog, u"labelTeam"), u"TextLabel"_s);
        QCOMPARE(text(dialog, u"labelVersion"), u"Version 1.0.3"_s);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, patience));
    }

    void longCreditsAreReadInPieces()
    {
        takeResourcesAway();
        const auto back = qScopeGuard(bringResourcesBack);
        const QString file = QCoreApplication::applicationDirPath() + "/long-credits.rcc"_L1;
        QVERIFY(QResource::registerResource(file));
        const auto unregister = qScopeGuard([&] { QResource::unregisterResource(file); });
        const AboutDialog dialog(nullptr);
        QCOMPARE(text(dialog, u"labelCopyRight"), u"x"_s.repeated(512));
        QCOMPARE(text(dialog, u"labelTeam"), u"The end of the first line"_s);
    }

    void okClosesItAndItOpensAgain()
    {
        AboutDialog dialog(nullptr);
        QSignalSpy accepted(&dialog, &QDialog::accepted);
        for (int i = 1; i <= 2; ++i) {
            dialog.show();
            QTest::mouseClick(dialog.findChild<QPushButton *>(u"okButton"_s), Qt::LeftButton);
            QVERIFY(dialog.isHidden());
            QCOMPARE(accepted.size(), i);
        }
    }
};

QTEST_MAIN(TestAboutDialog)
#include "tst_AboutDialog.moc"
