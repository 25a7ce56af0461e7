// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerFixture.h"

#include "Dialogs/ErrorMessageDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"

#include <QSettings>

using namespace Qt::Literals::StringLiterals;

namespace {

const auto smallText = u"Are you sure you want to synchronize the selected visuals?\n"
                       "The operation may permanently remove or replace visuals in destination "
                       "slots\n\nNote: The operation can not be  undone."_s;

QString largeText(int count, bool destructive)
{
    return u"You are trying to synchronize %1 visuals from server One to server Two.\n"_s.arg(
               count) +
           (destructive ? u"The operation may permanently remove or replace visuals in "
                          "destination slots."_s
                        : QString()) +
           u"\nAre you sure you want to continue?\n\nNote: The operation can not be undone."_s;
}

/// A folder with visuals in slots `first` to `last`.
MediaFolder numbered(int slot, int first, int last, int content)
{
    QList<Visual> files;
    for (int file = first; file <= last; ++file)
        files.append(cachedVisual(file, QString::number(content), content * 1000 + file));
    return folder(slot, QString::number(slot), files);
}

/// Two servers that are not on the network: their tasks send nothing.
class WarningFixture final : public WindowFixture
{
public:
    void open(const QList<MediaFolder> &source, const QList<MediaFolder> &destination)
    {
        Server one = sampleServer(u"One"_s, loopback(1));
        one.folders = source;
        connectServer(one);
        Server two = sampleServer(u"Two"_s, loopback(2));
        two.folders = destination;
        connectServer(two);
    }
    void click() { find<QPushButton>("leftToRightButton").click(); }
    /// Whether a task has started to remove or to transfer.
    [[nodiscard]] bool hasStarted() const
    {
        const auto dialogs = window->findChildren<QDialog *>();
        return std::any_of(dialogs.begin(), dialogs.end(), [](const QDialog *dialog) {
            return dialog->windowTitle() == u"Removing..."_s ||
                   dialog->windowTitle() == u"Ongoing Transfers"_s;
        });
    }
};

} // namespace

/// The warning before a synchronisation, and what its answers do.
class tst_UIControllerWarnings : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void warningDependsOnTheChanges_data()
    {
        QTest::addColumn<QList<MediaFolder>>("source");
        QTest::addColumn<QList<MediaFolder>>("destination");
        QTest::addColumn<quint32>("level");
        QTest::addColumn<QString>("text");
        using Folders = QList<MediaFolder>;
        const QString none;
        const Folders empty{numbered(0, 1, 0, 1)};
        const Folders ten{numbered(0, 1, 10, 1)};
        const Folders tenOthers{numbered(0, 1, 10, 2)};
        const Folders eleven{numbered(0, 1, 11, 1)};
        const Folders elevenOthers{numbered(0, 1, 11, 2)};
        const Folders twoFolders{numbered(0, 1, 250, 1), numbered(1, 1, 250, 1)};
        const Folders twoEmpty{numbered(0, 1, 0, 1), numbered(1, 1, 0, 1)};

        QTest::newRow("ten new") << ten << empty << allWarnings << none;
        QTest::newRow("ten replaced") << ten << tenOthers << allWarnings << smallText;
        QTest::newRow("ten removed") << empty << ten << allWarnings << smallText;
        QTest::newRow("eleven new") << eleven << empty << allWarnings << largeText(11, false);
        QTest::newRow("eleven replaced")
            << eleven << elevenOthers << allWarnings << largeText(11, true);
        QTest::newRow("eleven removed") << empty << eleven << allWarnings << largeText(11, true);
        QTest::newRow("five removed and six new")
            << Folders{numbered(0, 6, 11, 1)} << Folders{numbered(0, 1, 5, 1)} << allWarnings
            << largeText(11, true);
        QTest::newRow("renames don't count")
            << ten << Folders{folder(0, u"other name"_s, tenOthers.first().files)} << allWarnings
            << smallText;
        QTest::newRow("500 new, large not asked") << twoFolders << twoEmpty << ~8U << none;
        QTest::newRow("500 new, removal not asked")
            << twoFolders << twoEmpty << ~1U << largeText(500, false);
        QTest::newRow("eleven replaced, large not asked")
            << eleven << elevenOthers << ~8U << smallText;
        QTest::newRow("eleven replaced, removal not asked")
            << eleven << elevenOthers << ~1U << largeText(11, true);
        QTest::newRow("ten replaced, removal not asked") << ten << tenOthers << ~1U << none;
        QTest::newRow("eleven replaced, nothing asked") << eleven << elevenOthers << ~9U << none;
    }
    void warningDependsOnTheChanges()
    {
        QFETCH(const QList<MediaFolder>, source);
        QFETCH(const QList<MediaFolder>, destination);
        QFETCH(const quint32, level);
        QFETCH(const QString, text);
        WarningFixture fixture;
        fixture.open(source, destination);
        fixture.model.warningLevel = level;
        ModalDriver modals;
        if (!text.isEmpty())
            modals.press(QMessageBox::No);
        fixture.click();
        QCOMPARE(modals.seen().size(), text.isEmpty() ? 0 : 1);
        QCOMPARE(fixture.hasStarted(), text.isEmpty());
        QCOMPARE(fixture.model.warningLevel, level);
        if (text.isEmpty())
            return;
        QCOMPARE(modals.seen().first().text, text);
        QCOMPARE(modals.seen().first().title, u"Visual synchronize"_s);
    }

    void noIsTheDefaultButton()
    {
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            auto &box = *qobject_cast<QMessageBox *>(&dialog);
            QCOMPARE(box.icon(), QMessageBox::Warning);
            QCOMPARE(box.textFormat(), Qt::PlainText);
            QCOMPARE(box.parentWidget(), fixture.window.get());
            QVERIFY(box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
            QCOMPARE(box.windowFlags() & Qt::WindowType_Mask, Qt::Dialog);
            QCOMPARE(box.defaultButton(), box.button(QMessageBox::No));
            QCOMPARE(box.button(QMessageBox::Yes)->minimumWidth(), 60);
            QCOMPARE(box.button(QMessageBox::No)->minimumWidth(), 60);
            QCOMPARE(box.buttons().size(), 3);
            for (QAbstractButton *const button : box.buttons()) {
                if (box.standardButton(button) == QMessageBox::NoButton) {
                    QCOMPARE(button->text(), u"Yes, don't ask again"_s);
                    QCOMPARE(box.buttonRole(button), QMessageBox::ApplyRole);
                }
            }
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        fixture.click();
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
    }

    void escapeMeansNo()
    {
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        ModalDriver modals;
        modals.escape();
        fixture.click();
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
    }

    void answeredDialogsAreDeleted()
    {
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        ModalDriver modals;
        modals.escape().press(QMessageBox::Ok);
        fixture.click();
        fixture.controller().showErrorMessage(u"It failed"_s);
        QCOMPARE(modals.seen().size(), 2);
        QVERIFY(fixture.window->findChildren<QMessageBox *>().isEmpty());
        QVERIFY(fixture.window->findChildren<ErrorMessageDialog *>().isEmpty());
    }

    void yesStartsAndKeepsTheWarning()
    {
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        fixture.click();
        QVERIFY(fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
    }

    void dontAskAgainIsSavedAtOnce_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<quint32>("left");
        QTest::newRow("removal") << 10 << allWarnings - 1;
        QTest::newRow("large") << 11 << allWarnings - 8;
    }
    void dontAskAgainIsSavedAtOnce()
    {
        QFETCH(const int, count);
        QFETCH(const quint32, left);
        WarningFixture fixture;
        fixture.open({numbered(0, 1, count, 1)}, {numbered(0, 1, count, 2)});
        ModalDriver modals;
        modals.press(u"Yes, don't ask again"_s);
        fixture.click();
        QVERIFY(fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, left);
        const QSettings settings(settingsFilePath(), QSettings::IniFormat);
        QCOMPARE(settings.value(u"warningLevel"_s).toUInt(), left);
    }

    void namesAreShownAsPlainText_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        QTest::newRow("markup and marker") << u"<b>%3</b>"_s << u"<b>%3</b>"_s;
        QTest::newRow("lines") << u"A to server B.\n\nNothing is lost."_s
                               << u"A to server B.  Nothing is lost."_s;
        QTest::newRow("direction") << u"\u202Eowt\u2067"_s << u" owt "_s;
        QTest::newRow("enormous") << u"W"_s.repeated(2'000'000) << u"W"_s.repeated(4096) + u'…';
    }
    void namesAreShownAsPlainText()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, shown);
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 11, 1)}, {numbered(0, 1, 0, 1)});
        fixture.model.setServerName(fixture.model.servers.first()->uuid, name);
        ModalDriver modals;
        modals.press(QMessageBox::No);
        fixture.click();
        QCOMPARE(modals.seen().value(0).text, largeText(11, false).replace(u"One"_s, shown));
    }

    void theAnswerAppliesToTheEarlierComparison()
    {
        LogCapture log;
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        const QUuid destination = fixture.model.servers.last()->uuid;
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            fixture.controller().removeServer(destination);
            fixture.controller().removeServer(fixture.model.servers.first()->uuid);
            qobject_cast<QMessageBox *>(&dialog)->button(QMessageBox::Yes)->click();
        });
        fixture.click();
        QVERIFY(fixture.hasStarted());
        QVERIFY(log.texts().contains(u"Handler not found for id: "_s + destination.toString()));
    }

    void theBoxIsDeletedWithItsWindow()
    {
        WarningFixture fixture;
        fixture.open({numbered(0, 1, 1, 1)}, {numbered(0, 1, 1, 2)});
        ModalDriver modals;
        modals.answer([&](QDialog &) { fixture.window.reset(); });
        fixture.controller().transferFromServerA();
        QVERIFY(!fixture.window);
    }
};

QTEST_MAIN(tst_UIControllerWarnings)
#include "tst_UIControllerWarnings.moc"
