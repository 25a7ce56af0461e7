// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Pixels.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QCompleter>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyleOptionButton>
#include <QToolTip>
#include <QTreeView>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A button as its style draws it in a state, with a large text and on magenta.
QImage drawn(const QPushButton &button, QStyle::State state)
{
    QStyleOptionButton option;
    option.initFrom(&button);
    option.state = QStyle::State_Enabled | state;
    option.text = u"H"_s;
    QImage picture(button.size(), QImage::Format_RGB32);
    picture.fill(Qt::magenta);
    QPainter painter(&picture);
    QFont font;
    font.setPixelSize(20);
    painter.setFont(font);
    button.style()->drawControl(QStyle::CE_PushButton, &option, &painter, &button);
    return picture;
}

/// Ignores small differences: no pixel is at the very end of a gradient.
bool isNear(QColor one, QColor other)
{
    return qAbs(one.red() - other.red()) <= 2 && qAbs(one.green() - other.green()) <= 2 &&
           qAbs(one.blue() - other.blue()) <= 2;
}

int mostGreen(const QImage &image)
{
    int most = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            most = qMax(most, qGreen(image.pixel(x, y)));
    }
    return most;
}

} // namespace

/// The dark look of the main window, and whether its texts are readable.
class tst_BVMainWindowLook final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void looksDark()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        const QImage image = fixture.window->grab().toImage();
        const QWidget *central = fixture.window->centralWidget();
        QCOMPARE(image.pixelColor(central->mapTo(fixture.window.get(), QPoint(2, 2))),
                 QColor(39, 45, 52));
        const QWidget *viewport = listOf(fixture.bankA()).viewport();
        QCOMPARE(image.pixelColor(viewport->mapTo(fixture.window.get(), QPoint(1, 1))),
                 QColor(73, 83, 96));
        QDialog dialog(fixture.window.get());
        QCOMPARE(dialog.grab().toImage().pixelColor(5, 5), QColor(51, 58, 67));
    }

    void buttonsShowTheirState_data()
    {
        QTest::addColumn<QStyle::State>("state");
        QTest::addColumn<QColor>("top");
        QTest::addColumn<QColor>("bottom");
        QTest::addColumn<QColor>("edge");
        QTest::addColumn<int>("text");
        const auto row = [](const char *name, QStyle::State state, QColor top, QColor bottom,
                            QColor edge, int text) {
            QTest::newRow(name) << state << top << bottom << edge << text;
        };
        const QColor border(31, 35, 39);
        const QColor dark(40, 44, 51);
        row("unused", {}, {72, 83, 98}, {55, 63, 75}, border, 220);
        row("hovered", QStyle::State_MouseOver, {93, 105, 121}, {70, 79, 91}, border, 220);
        row("pressed", QStyle::State_Sunken, {28, 31, 35}, dark, dark, 255);
        row("checked", QStyle::State_On, {28, 31, 35}, dark, dark, 255);
    }
    void buttonsShowTheirState()
    {
        QFETCH(const QStyle::State, state);
        QFETCH(const QColor, top);
        QFETCH(const QColor, bottom);
        QFETCH(const QColor, edge);
        WindowFixture fixture;
        QVERIFY(fixture.show());
        for (const char *name : {"leftToRightButton", "rightToLeftButton", "listModeButton",
                                 "gridModeButton", "smallSizeButton", "mediumSizeButton",
                                 "largeSizeButton", "removeButton", "addButton"}) {
            const QImage picture = drawn(fixture.find<QPushButton>(name), state);
            const bool transparent = !state && !QByteArray(name).contains("To");
            const auto isDrawn = [&](int y, QColor expected) {
                return isNear(picture.pixelColor(picture.width() / 2, y),
                              transparent ? QColor(Qt::magenta) : expected);
            };
            QVERIFY2(isDrawn(1, top), name);
            QVERIFY2(isDrawn(picture.height() - 2, bottom), name);
            QVERIFY2(isDrawn(picture.height() - 1, edge), name);
            QTEST(mostGreen(picture), "text");
        }
    }

    void disabledButtonsLookDisabled_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char *name :
             {"leftToRightButton", "rightToLeftButton", "removeButton", "addButton"})
            QTest::newRow(name) << QByteArray(name);
    }
    void disabledButtonsLookDisabled()
    {
        QFETCH(const QByteArray, name);
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        auto &button = fixture.find<QPushButton>(name.constData());
        button.setEnabled(true);
        const double enabled = contrast(grabOf(button));
        button.setEnabled(false);
        QVERIFY(contrast(grabOf(button)) < enabled / 1.5);
    }

    void toolTipsAreReadable()
    {
        WindowFixture fixture;
        QVERIFY(fixture.show());
        auto &button = fixture.find<QPushButton>("listModeButton");
        QToolTip::showText(QPoint(50, 50), button.toolTip(), &button);
        const QWidgetList all = QApplication::topLevelWidgets();
        const auto tip = std::find_if(all.begin(), all.end(),
                                      [](const QWidget *w) { return w->inherits("QTipLabel"); });
        QVERIFY(tip != all.end());
        const QImage inside = (*tip)->grab((*tip)->rect().adjusted(2, 2, -2, -2)).toImage();
        QCOMPARE(inside.pixelColor(0, 0), QColor(39, 44, 51));
        QVERIFY(contrast(inside) >= 4.5);
        QToolTip::hideText();
    }

    /// Without a file dialog of the desktop, Qt's dialog is used.
    void fileDialogIsDark()
    {
        WindowFixture fixture;
        fixture.sandbox.directory().mkpath(u"Loops"_s);
        QFileDialog dialog(fixture.window.get(), {}, fixture.sandbox.directory().path());
        dialog.setOption(QFileDialog::DontUseNativeDialog);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog, patience));
        const auto *files = dialog.findChild<QTreeView *>(u"treeView"_s);
        EVENTUALLY(files->model()->rowCount(files->rootIndex()) > 0);
        const auto *name = dialog.findChild<QLineEdit *>(u"fileNameEdit"_s);
        for (const QWidget *field :
             std::initializer_list<const QWidget *>{files->viewport(), name}) {
            const QRect area(field->mapTo(&dialog, QPoint(4, 4)), field->size() - QSize(8, 8));
            const QImage image = dialog.grab(area).toImage();
            QCOMPARE(image.pixelColor(image.width() - 1, image.height() - 1), QColor(39, 44, 51));
        }
        const QRect firstName(files->viewport()->mapTo(&dialog, QPoint(30, 2)), QSize(80, 20));
        EVENTUALLY(contrast(dialog.grab(firstName).toImage()) >= 4.5);
    }

    /// The completions of the name box are in a separate window.
    void completionsOfTheFileDialogAreDark()
    {
        WindowFixture fixture;
        const QDir directory(fixture.sandbox.directory().filePath(u"clips"_s));
        for (int number = 0; number < 12; ++number)
            directory.mkpath(u"Loops %1"_s.arg(number));
        QFileDialog dialog(fixture.window.get(), {}, directory.path());
        dialog.setOption(QFileDialog::DontUseNativeDialog);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog, patience));
        const auto *files = dialog.findChild<QTreeView *>(u"treeView"_s);
        EVENTUALLY_COMPARE(files->model()->rowCount(files->rootIndex()), 12);
        auto *const name = dialog.findChild<QLineEdit *>(u"fileNameEdit"_s);
        QTest::keyClicks(name, u"Loops"_s);
        auto *const list = name->completer()->popup();
        EVENTUALLY(list->isVisible());
        QVERIFY(list->isWindow());

        const auto picture = [list] { return list->viewport()->grab().toImage(); };
        QCOMPARE(picture().pixelColor(list->viewport()->width() - 2, 1), QColor(39, 44, 51));
        EVENTUALLY(contrast(picture()) >= 4.5);
        QVERIFY(list->verticalScrollBar()->isVisible());
        QCOMPARE(list->verticalScrollBar()->width(), 10);

        QTest::keyClick(list, Qt::Key_Down);
        QCOMPARE(name->text(), u"Loops 0"_s);
        QTest::keyClick(list, Qt::Key_Escape);
        QVERIFY(!list->isVisible());
        QVERIFY(dialog.isVisible());
    }

    void textsAreReadable_data()
    {
        QTest::addColumn<QByteArray>("widget");
        for (const char *name : {"menuBar", "menuFile", "menuHelp", "mediaListFolder",
                                 "middleCpuGpuLabel", "serverComboBox"})
            QTest::newRow(name) << QByteArray(name);
    }
    /// Some pixels of each text have the contrast that WCAG requires of normal text.
    void textsAreReadable()
    {
        QFETCH(const QByteArray, widget);
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        auto &shown = fixture.find<QWidget>(widget.constData());
        if (auto *menu = qobject_cast<QMenu *>(&shown)) {
            menu->popup(QPoint(100, 100));
            QVERIFY(contrast(menu->grab().toImage()) >= 4.5);
        } else {
            QVERIFY(contrast(grabOf(shown)) >= 4.5);
        }
    }
};

QTEST_MAIN(tst_BVMainWindowLook)
#include "tst_BVMainWindowLook.moc"
