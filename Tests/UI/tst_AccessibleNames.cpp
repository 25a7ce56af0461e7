// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/ErrorMessageDialog.h"
#include "Dialogs/TransferDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Walks the accessible tree of a window as a screen reader does and collects missing names.
class Walk final
{
public:
    explicit Walk(QWidget &window) { visit(*QAccessible::queryAccessibleInterface(&window)); }

    int nodes = 0;
    QString missing;   ///< one line for each name or tool tip that should be there
    QStringList texts; ///< all names and descriptions

private:
    void visit(QAccessibleInterface &node)
    {
        ++nodes;
        const QString name = node.text(QAccessible::Name);
        texts.append(name + u" | "_s + node.text(QAccessible::Description));
        if (name.trimmed().isEmpty() && !isStructure(node))
            missing += label(node) + u": no name\n"_s;
        if (needsToolTip(node) && static_cast<QWidget *>(node.object())->toolTip().isEmpty())
            missing += label(node) + u": no tool tip\n"_s;
        for (int number = 0; number < node.childCount(); ++number)
            visit(*node.child(number));
    }

    static QString label(const QAccessibleInterface &node)
    {
        const QString role = QString::number(node.role(), 16);
        return node.object() ? node.object()->objectName() + u" of role "_s + role : role;
    }

    /// Containers, and scroll bars, which the keyboard does not need.
    static bool isStructure(const QAccessibleInterface &node)
    {
        switch (node.role()) {
        case QAccessible::Client:
        case QAccessible::LayeredPane:
        case QAccessible::Pane:
        case QAccessible::MenuBar:
        case QAccessible::PopupMenu:
        case QAccessible::ScrollBar:
            return !node.state().focusable;
        case QAccessible::Grouping:
            return qobject_cast<QDialogButtonBox *>(node.object());
        default:
            return false;
        }
    }

    /// Visible objects without a text that says what they are.
    static bool needsToolTip(const QAccessibleInterface &node)
    {
        if (!qobject_cast<QWidget *>(node.object()) || node.state().invisible)
            return false;
        if (const auto *const button = qobject_cast<QAbstractButton *>(node.object()))
            return button->text().isEmpty();
        switch (node.role()) {
        case QAccessible::ComboBox:
        case QAccessible::EditableText:
        case QAccessible::List:
        case QAccessible::ProgressBar:
        case QAccessible::Table:
            return true;
        default:
            return false;
        }
    }
};

QString missingInShownWindows()
{
    QString missing;
    for (QWidget *const window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            missing += Walk(*window).missing;
    }
    return missing;
}

/// Two servers that differ in folder 2's name and in slot 5 of folder 3.
class AccessibleFixture final : public WindowFixture
{
public:
    AccessibleFixture()
    {
        connectServer(sampleServer(u"Stage left"_s, loopback(1)));
        Server right = sampleServer(u"Stage right"_s, loopback(2));
        right.hash = hashOf(2);
        right.folders[2].name = u"Pictures"_s;
        right.folders[3].files.removeLast();
        connectServer(right);
        model.warningLevel = 15;
    }
};

} // namespace

/// Every control and every information has an accessible name.
class tst_AccessibleNames final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void missingNamesAreFound()
    {
        const WindowFixture fixture;
        QVERIFY(fixture.window->centralWidget());
        QCOMPARE(Walk(*fixture.window).missing, QString());
        auto *const nameless = new QPushButton(fixture.window->centralWidget());
        nameless->setObjectName(u"nameless"_s);
        nameless->show();
        fixture.find<QPushButton>("leftToRightButton").setAccessibleName({});
        listOf(fixture.bankB()).setAccessibleName(u" "_s);
        fixture.window->show();
        const QStringList missing = Walk(*fixture.window).missing.split(u'\n', Qt::SkipEmptyParts);
        for (const QString &line :
             {u"nameless of role 2b: no name"_s, u"nameless of role 2b: no tool tip"_s,
              u"leftToRightButton of role 2b: no name"_s, u"mediaListWidget of role 21: no name"_s})
            QVERIFY2(missing.contains(line), qPrintable(line));
        QCOMPARE(missing.size(), 4);
    }

    void windowHasItsNames_data()
    {
        QTest::addColumn<int>("servers");
        QTest::addColumn<int>("folderSlot");
        QTest::addColumn<int>("rows");
        QTest::newRow("no server") << 0 << -1 << 0;
        QTest::newRow("one server, folders") << 1 << -1 << 256;
        QTest::newRow("one server, slots") << 1 << 3 << 257;
        QTest::newRow("two servers, folders") << 2 << -1 << 512;
        QTest::newRow("two servers, slots") << 2 << 3 << 514;
        QTest::newRow("two servers, names differ") << 2 << 2 << 514;
        QTest::newRow("two servers, a folder that neither has") << 2 << 200 << 514;
    }
    void windowHasItsNames()
    {
        QFETCH(const int, servers);
        QFETCH(const int, folderSlot);
        QFETCH(const int, rows);
        AccessibleFixture fixture;
        while (fixture.model.connectedServersWithLibrary().size() > servers)
            fixture.controller().removeServer(
                fixture.model.connectedServersWithLibrary().constLast());
        if (folderSlot != -1)
            fixture.controller().folderChanged(folderSlot);
        QVERIFY(fixture.show());
        const Walk walk(*fixture.window);
        QCOMPARE(walk.missing, QString());
        QVERIFY(walk.nodes > rows + 50);
    }

    void controlsOfABankNameTheirBank()
    {
        AccessibleFixture fixture;
        for (const bool first : {true, false}) {
            BVServerBank &bank = first ? fixture.bankA() : fixture.bankB();
            const QString own = first ? u"bank A"_s : u"bank B"_s;
            const QString other = first ? u"bank B"_s : u"bank A"_s;
            QCOMPARE(bank.accessibleName().toLower(), own.toLower());
            const Walk walk(bank);
            QVERIFY(walk.texts.filter(other, Qt::CaseInsensitive).isEmpty());
            for (const char *name :
                 {"serverComboBox", "serverStatusLabel", "mediaListWidget", "removeButton",
                  "addButton", "gpuValueLabel", "cpuValueLabel"}) {
                auto &widget = childOf<QWidget>(bank, name);
                const auto &node = *QAccessible::queryAccessibleInterface(&widget);
                QVERIFY2(node.text(QAccessible::Description).contains(own), name);
            }
        }
        // The buttons between the banks name both servers. Their direction is in their names.
        for (const char *name : {"leftToRightButton", "rightToLeftButton"}) {
            auto *const button = &fixture.find<QPushButton>(name);
            const bool toB = QLatin1StringView(name) == "leftToRightButton"_L1;
            QVERIFY(QAccessible::queryAccessibleInterface(button)
                        ->text(QAccessible::Description)
                        .startsWith(toB ? u"Make Stage right equal to Stage left\n"_s
                                        : u"Make Stage left equal to Stage right\n"_s));
            QCOMPARE(button->accessibleName(), toB ? u"Transfer from bank A to bank B"_s
                                                   : u"Transfer from bank B to bank A"_s);
        }
    }

    void redHeaderIsDescribed()
    {
        AccessibleFixture fixture;
        const auto described = [&] {
            auto &header = childOf<QLabel>(fixture.bankB(), "mediaListFolder");
            return QAccessible::queryAccessibleInterface(&header)->text(QAccessible::Description);
        };
        QCOMPARE(described(), QString());
        fixture.controller().folderChanged(2);
        QCOMPARE(described(), u"The servers name this folder differently, or one lacks it"_s);
        fixture.controller().folderChanged(3);
        QCOMPARE(described(), QString());
        fixture.controller().folderChanged(2);
        fixture.controller().backToFolders();
        QCOMPARE(described(), QString());
    }

    void labelsNameTheirServer()
    {
        AccessibleFixture fixture;
        BVServerBank &bank = fixture.bankA();
        bank.setConnectionStatus(true, 25, 50);
        const Walk walk(bank);
        for (const QString &text : {u"Connected | Connection to the server of bank A"_s,
                                    u"25.00 | CPU frame rate of the server in bank A"_s,
                                    u"50.00 | GPU frame rate of the server in bank A"_s})
            QVERIFY2(walk.texts.contains(text), qPrintable(text));
    }

    void transferDialogHasItsNames()
    {
        TransferDialog dialog(nullptr);
        for (int slot = 1; slot <= 5; ++slot)
            dialog.addTransfer(3, slot, u"Stage - Visual "_s);
        dialog.updateTransfer(3, 2, 40, Brenvoka::SyncTransferring);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, patience));
        const Walk walk(dialog);
        QCOMPARE(walk.missing, QString());
        QCOMPARE(walk.texts.filter(u"Stage - Visual"_s).size(), 5);
        QVERIFY(walk.texts.contains(u"Visual | "_s) && walk.texts.contains(u"State | "_s));
        QVERIFY(walk.texts.contains(u"40% | "_s));
    }

    void progressDialogHasItsNames()
    {
        BVProgressDialog dialog(u"Removing visuals"_s, true, nullptr);
        dialog.addSteps(3, false);
        QVERIFY(QTest::qWaitForWindowExposed(&dialog, patience));
        const Walk walk(dialog);
        QCOMPARE(walk.missing, QString());
        QVERIFY(walk.texts.contains(u"Removing visuals | "_s));
        QVERIFY(!walk.texts.filter(u"Progress | "_s).isEmpty());
    }

    void errorDialogHasItsNames()
    {
        ErrorMessageDialog dialog(nullptr);
        dialog.displayErrorMessage(u"Nothing works"_s, {u"first"_s, u"second"_s});
        dialog.show();
        dialog.findChild<QPushButton *>(u"errorDetails"_s)->click();
        QVERIFY(dialog.findChild<QWidget *>(u"errorDetailsList"_s)->isVisible());
        const Walk walk(dialog);
        QCOMPARE(walk.missing, QString());
        QVERIFY(walk.texts.contains(u"Nothing works | "_s));
    }

    void dialogsOfTheMenusHaveTheirNames_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::newRow("preferences") << "actionPreferences"_ba;
        QTest::newRow("about") << "actionAbout"_ba;
    }
    void dialogsOfTheMenusHaveTheirNames()
    {
        QFETCH(const QByteArray, action);
        const WindowFixture fixture;
        QString missing = u"never shown"_s;
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            missing = missingInShownWindows();
            dialog.reject();
        });
        fixture.find<QAction>(action.constData()).trigger();
        QCOMPARE(missing, QString());
    }

    void warningsHaveTheirNames_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("removeButton") << u"Visual remove"_s;
        QTest::newRow("addButton") << u"Visual upload"_s;
        QTest::newRow("rightToLeftButton") << u"Visual synchronize"_s;
    }
    void warningsHaveTheirNames()
    {
        QFETCH(const QString, title);
        AccessibleFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        clickRow(fixture.bankA(), 6);

        std::optional<Walk> walk;
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            walk.emplace(dialog);
            dialog.reject();
        });
        fixture.find<QPushButton>(QTest::currentDataTag()).click();
        QVERIFY(walk);
        QCOMPARE(walk->missing, QString());
        QVERIFY(walk->texts.contains(u"Warning | "_s));
        QCOMPARE(modals.seen().constLast().title, title);
    }
};

QTEST_MAIN(tst_AccessibleNames)
#include "tst_AccessibleNames.moc"
