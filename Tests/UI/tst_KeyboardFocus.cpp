// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"
#include "Dialogs/BVPreferencesDialog.h"
#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/ErrorMessageDialog.h"
#include "Dialogs/TransferDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTextEdit>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The object name of the focus widget, with the letter of its bank; the text of a button in a
/// button box.
QString focused()
{
    const QWidget *const widget = QApplication::focusWidget();
    if (!widget)
        return u"nothing"_s;
    QString bank;
    for (const QWidget *parent = widget; parent; parent = parent->parentWidget()) {
        if (parent->objectName().startsWith("serverBank"_L1))
            bank = parent->objectName().right(1) + u'.';
    }
    if (const auto *const button = qobject_cast<const QPushButton *>(widget);
        button && button->objectName().isEmpty())
        return button->text().remove(u'&');
    return bank + widget->objectName();
}

QStringList walk(int steps, Qt::KeyboardModifiers modifiers = {})
{
    QStringList way;
    for (int step = 0; step < steps; ++step) {
        way.append(focused());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, modifiers);
    }
    return way;
}

} // namespace

/// The tab order of the window and its dialogs, what Escape closes, and whether the focus is
/// visible.
class tst_KeyboardFocus final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<WindowFixture>();
        QVERIFY(fixture->show());
    }
    void cleanup() { fixture.reset(); }

    void tabOrderFollowsTheLayout()
    {
        connectTwo();
        QStringList expected{u"A.mediaListWidget"_s, u"A.removeButton"_s,    u"A.addButton"_s,
                             u"leftToRightButton"_s, u"rightToLeftButton"_s, u"B.serverComboBox"_s,
                             u"B.mediaListWidget"_s, u"B.removeButton"_s,    u"B.addButton"_s,
                             u"gridModeButton"_s,    u"mediumSizeButton"_s,  u"A.serverComboBox"_s};
        const int count = int(expected.size());
        QCOMPARE(walk(count), expected);
        QCOMPARE(focused(), expected.first());
        std::reverse(expected.begin() + 1, expected.end());
        QCOMPARE(walk(count, Qt::ShiftModifier), expected);
    }

    void tabSkipsDisabledControls()
    {
        fixture->connectServer(sampleServer(u"Stage left"_s, loopback(1))); // nothing for bank B
        listOf(fixture->bankA()).setCurrentRow(3); // a folder takes no upload
        QCOMPARE(walk(5),
                 (QStringList{u"A.mediaListWidget"_s, u"A.removeButton"_s, u"gridModeButton"_s,
                              u"mediumSizeButton"_s, u"A.serverComboBox"_s}));
        QCOMPARE(focused(), u"A.mediaListWidget"_s);
    }

    void arrowsChooseAmongTheViewButtons()
    {
        connectTwo();
        QTest::keyClick(&listOf(fixture->bankA()), Qt::Key_Tab, Qt::ShiftModifier);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ShiftModifier);
        QCOMPARE(focused(), u"mediumSizeButton"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
        QCOMPARE(focused(), u"largeSizeButton"_s);
        QCOMPARE(fixture->model.selectedIconSize, 2);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ShiftModifier);
        QCOMPARE(focused(), u"gridModeButton"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
        QCOMPARE(focused(), u"listModeButton"_s);
        QVERIFY(fixture->model.selectedViewMode);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(focused(), u"largeSizeButton"_s);
    }

    void clicksKeepTheFocusInTheList()
    {
        connectTwo();
        ModalDriver modals;
        modals.escape();
        clickRow(fixture->bankB(), 3);
        for (const char *const name : {"listModeButton", "largeSizeButton", "leftToRightButton"})
            QTest::mouseClick(&fixture->find<QPushButton>(name), Qt::LeftButton);
        QTest::mouseClick(&childOf<QPushButton>(fixture->bankB(), "removeButton"), Qt::LeftButton);
        QCOMPARE(modals.seen().first().title, u"Visual remove"_s);
        fixture->window->activateWindow(); // a window manager would do this
        EVENTUALLY_COMPARE(focused(), u"B.mediaListWidget"_s);
    }

    void theListHasTheFocusFromTheFirstServerOn()
    {
        QCOMPARE(focused(), u"BVMainWindow"_s);
        const Server server = sampleServer(u"Stage left"_s, loopback(1));
        fixture->connectServer(server);
        QCOMPARE(focused(), u"A.mediaListWidget"_s);
        QCOMPARE(listOf(fixture->bankA()).currentRow(), 0);

        fixture->controller().removeServer(server.uuid);
        QCOMPARE(focused(), u"BVMainWindow"_s);
        fixture->connectServer(server);
        QCOMPARE(focused(), u"A.mediaListWidget"_s);
    }

    void aRefreshReturnsTheFocusToTheRemoveButton()
    {
        connectTwo();
        fixture->controller().folderChanged(3);
        childOf<QPushButton>(fixture->bankB(), "removeButton").setFocus();
        connectTwo(); // fills the boxes and both lists again
        QCOMPARE(focused(), u"B.removeButton"_s);
    }

    void choosingAServerByKeysKeepsTheFocus()
    {
        connectTwo();
        fixture->connectServer(sampleServer(u"Foyer"_s, loopback(3)));
        fixture->controller().folderChanged(3);
        auto &box = childOf<QComboBox>(fixture->bankA(), "serverComboBox");
        box.setFocus();
        const QString before = box.currentText();
        QTest::keyClick(&box, Qt::Key_Down);
        QVERIFY(box.currentText() != before);
        QCOMPARE(focused(), u"A.serverComboBox"_s);
    }

    void theMenuIsReachedByF10AndAlt()
    {
        connectTwo();
        const auto &bar = fixture->find<QMenuBar>("menuBar");
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support raise()");
        QTest::ignoreMessage(QtWarningMsg, "This plugin does not support grabbing the keyboard");
        QTest::keyClick(&listOf(fixture->bankA()), Qt::Key_F10);
        QCOMPARE(QApplication::activePopupWidget(), &fixture->find<QMenu>("menuFile"));
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
        QVERIFY(!QApplication::activePopupWidget());
        QCOMPARE(bar.activeAction(), fixture->find<QMenu>("menuFile").menuAction());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QCOMPARE(focused(), u"A.mediaListWidget"_s);

        QTest::keyPress(&listOf(fixture->bankA()), Qt::Key_Alt);
        QTest::keyRelease(&listOf(fixture->bankA()), Qt::Key_Alt, Qt::AltModifier);
        QCOMPARE(bar.activeAction(), fixture->find<QMenu>("menuFile").menuAction());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
        QCOMPARE(bar.activeAction(), fixture->find<QMenu>("menuHelp").menuAction());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QCOMPARE(focused(), u"A.mediaListWidget"_s);
    }

    void tabOfTheDialogs_data()
    {
        QTest::addColumn<QByteArray>("dialog");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("preferences") << QByteArray("preferences")
                                     << QStringList{u"checkBoxWarnMove"_s,
                                                    u"checkBoxWarnDeleteAndOverwrite"_s,
                                                    u"checkBoxWarnUpload"_s,
                                                    u"checkBoxWarnLarge"_s,
                                                    u"OK"_s,
                                                    u"Cancel"_s};
        QTest::newRow("about") << QByteArray("about") << QStringList{u"okButton"_s};
        QTest::newRow("transfer") << QByteArray("transfer")
                                  << QStringList{u"ckAutoScroll"_s, u"cancelSync"_s};
        QTest::newRow("progress") << QByteArray("progress") << QStringList{u"Cancel"_s};
        QTest::newRow("error") << QByteArray("error") << QStringList{u"OK"_s};
        QTest::newRow("error with details")
            << QByteArray("error with details") << QStringList{u"OK"_s, u"errorDetails"_s};
    }
    void tabOfTheDialogs()
    {
        QFETCH(const QByteArray, dialog);
        QFETCH(const QStringList, expected);
        QDialog *const shown = makeDialog(dialog, fixture->window.get());
        shown->show();
        EVENTUALLY_COMPARE(QApplication::activeWindow(), shown);
        QCOMPARE(walk(int(expected.size())), expected);
        QCOMPARE(focused(), expected.first());
    }

    void tabLeavesTheDetailsOfAnError()
    {
        QDialog *const shown = makeDialog("error with details", fixture->window.get());
        shown->show();
        EVENTUALLY_COMPARE(QApplication::activeWindow(), shown);
        QTest::keyClick(shown->findChild<QPushButton *>(u"errorDetails"_s), Qt::Key_Space);
        auto *const details = shown->findChild<QTextEdit *>();
        QVERIFY(details->isVisible());
        details->setFocus();
        QCOMPARE(walk(3), (QStringList{u"errorDetailsList"_s, u"errorDetails"_s, u"OK"_s}));
        QCOMPARE(details->toPlainText(), u"Why."_s);
    }

    void escapeClosesTheDialogs_data()
    {
        QTest::addColumn<QByteArray>("dialog");
        for (const char *const name :
             {"preferences", "about", "transfer", "progress", "error", "error with details"})
            QTest::newRow(name) << QByteArray(name);
    }
    void escapeClosesTheDialogs()
    {
        QFETCH(const QByteArray, dialog);
        QDialog *const shown = makeDialog(dialog, fixture->window.get());
        shown->show();
        EVENTUALLY_COMPARE(QApplication::activeWindow(), shown);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QVERIFY(!shown->isVisible());
        QCOMPARE(shown->result(), int(QDialog::Rejected));
    }

    void theWarningIsDeclinedByEnterAndEscape()
    {
        connectTwo();
        listOf(fixture->bankA()).setCurrentRow(3);
        ModalDriver modals;
        QStringList way;
        modals.escape().answer([&](QDialog &box) {
            EVENTUALLY_COMPARE(QApplication::activeWindow(), &box);
            way = walk(3);
            QTest::keyClick(&box, Qt::Key_Return);
        });
        for (int round = 0; round < 2; ++round) {
            fixture->window->activateWindow(); // a window manager would do this
            EVENTUALLY_COMPARE(focused(), u"A.mediaListWidget"_s);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
        }
        QCOMPARE(modals.seen().size(), 2);
        QCOMPARE(way, (QStringList{u"No"_s, u"Yes, don't ask again"_s, u"Yes"_s}));
        // The only dialog is that of the thumbnails: no removal has started.
        QCOMPARE(fixture->window->findChildren<BVProgressDialog *>().size(), 1);
    }

    void theFocusIsVisible_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char *const name :
             {"gridModeButton", "mediumSizeButton", "leftToRightButton", "rightToLeftButton",
              "removeButton", "addButton", "serverComboBox", "mediaListWidget"})
            QTest::newRow(name) << QByteArray(name);
    }
    /// With the focus, pixels near the edge of the control or of the list's row are as light as the
    /// focus ring. The geometry stays.
    void theFocusIsVisible()
    {
        QFETCH(const QByteArray, name);
        connectTwo();
        auto &widget = fixture->find<QWidget>(name.constData());
        const auto ringPixels = [&] {
            const QImage image = grabOf(widget);
            int count = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    count += image.pixelColor(x, y) == QColor(220, 220, 220);
            }
            return count;
        };
        fixture->window->setFocus();
        const QRect place = widget.geometry();
        const QSize hint = widget.sizeHint();
        const int before = ringPixels();
        widget.setFocus(Qt::TabFocusReason);
        QVERIFY2(ringPixels() >= before + 60, qPrintable(QString::number(ringPixels() - before)));
        QCOMPARE(widget.geometry(), place);
        QCOMPARE(widget.sizeHint(), hint);
    }

private:
    void connectTwo() const
    {
        fixture->connectServer(sampleServer(u"Stage left"_s, loopback(1)));
        fixture->connectServer(sampleServer(u"Stage right"_s, loopback(2)));
    }
    static QDialog *makeDialog(const QByteArray &name, QWidget *parent)
    {
        if (name == "preferences")
            return new BVPreferencesDialog(15, parent);
        if (name == "about")
            return new AboutDialog(parent);
        if (name == "transfer")
            return new TransferDialog(parent);
        if (name == "progress")
            return new BVProgressDialog(u"Removing..."_s, false, parent);
        auto *const error = new ErrorMessageDialog(parent);
        error->displayErrorMessage(u"It failed."_s,
                                   name == "error" ? QStringList() : QStringList{u"Why."_s});
        return error;
    }

    std::unique_ptr<WindowFixture> fixture;
};

QTEST_MAIN(tst_KeyboardFocus)
#include "tst_KeyboardFocus.moc"
