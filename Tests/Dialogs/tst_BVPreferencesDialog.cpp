// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVPreferencesDialog.h"

#include "Support/FailOnWarning.h"
#include "Support/Pixels.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct PreferencesFixture
{
    explicit PreferencesFixture(quint32 level)
        : dialog(level, nullptr)
    {
        dialog.show();
    }

    [[nodiscard]] QCheckBox *box(quint32 bit) const
    {
        const auto name = bit == 1   ? u"checkBoxWarnDeleteAndOverwrite"_s
                          : bit == 2 ? u"checkBoxWarnMove"_s
                          : bit == 4 ? u"checkBoxWarnUpload"_s
                                     : u"checkBoxWarnLarge"_s;
        return dialog.findChild<QCheckBox *>(name);
    }

    [[nodiscard]] QPushButton *button(QDialogButtonBox::StandardButton which) const
    {
        return dialog.findChild<QDialogButtonBox *>(u"buttonBox"_s)->button(which);
    }

    [[nodiscard]] quint32 ticked() const
    {
        quint32 level = 0;
        for (const quint32 bit : {1U, 2U, 4U, 8U})
            level |= box(bit)->isChecked() ? bit : 0;
        return level;
    }

    void toggle(quint32 bit) const { QTest::mouseClick(box(bit), Qt::LeftButton, {}, {8, 8}); }
    void press(QDialogButtonBox::StandardButton which) const
    {
        QTest::mouseClick(button(which), Qt::LeftButton);
    }

    BVPreferencesDialog dialog;
};

} // namespace

class TestBVPreferencesDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void looksAsDesigned()
    {
        const PreferencesFixture fixture(0);
        QCOMPARE(fixture.dialog.objectName(), u"PreferencesDialog"_s);
        QCOMPARE(fixture.dialog.windowTitle(), u"Preferences"_s);
        QCOMPARE(fixture.dialog.windowModality(), Qt::ApplicationModal);
        QCOMPARE(fixture.dialog.size(), QSize(400, 235));
        QCOMPARE(fixture.dialog.minimumWidth(), 400);
        QCOMPARE(fixture.box(1)->text(), u"Warn before delete and overwrite operations"_s);
        QCOMPARE(fixture.box(2)->text(), u"Warn before move operations"_s);
        QCOMPARE(fixture.box(4)->text(), u"Warn before upload operations"_s);
        QCOMPARE(fixture.box(8)->text(), u"Warn before large operations"_s);
        const QList order{fixture.box(2)->y(), fixture.box(1)->y(), fixture.box(4)->y(),
                          fixture.box(8)->y()};
        QVERIFY(std::is_sorted(order.begin(), order.end()));
        for (const auto which : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel})
            QCOMPARE(fixture.button(which)->minimumSize(), QSize(70, 15));
    }

    void boxesShowTheBitsAndOkKeepsThem_data()
    {
        QTest::addColumn<quint32>("level");
        QTest::addColumn<quint32>("boxes");
        for (quint32 level = 0; level < 16; ++level)
            QTest::addRow("level %u", level) << level << level;
        QTest::newRow("unknown bits are kept") << 0xfffffff5U << 5U;
    }

    void boxesShowTheBitsAndOkKeepsThem()
    {
        QFETCH(quint32, level);
        PreferencesFixture fixture(level);
        QTEST(fixture.ticked(), "boxes");
        fixture.press(QDialogButtonBox::Ok);
        QCOMPARE(fixture.dialog.result(), int(QDialog::Accepted));
        QCOMPARE(fixture.dialog.warningLevel, level);
    }

    void eachBoxChangesOnlyItsBit_data()
    {
        QTest::addColumn<quint32>("bit");
        for (const quint32 bit : {1U, 2U, 4U, 8U})
            QTest::addRow("bit %u", bit) << bit;
    }

    void eachBoxChangesOnlyItsBit()
    {
        QFETCH(quint32, bit);
        for (const quint32 level : {0U, 15U, 0xa5a5a5a5U}) {
            PreferencesFixture fixture(level);
            fixture.toggle(bit);
            QCOMPARE(fixture.dialog.warningLevel, level);
            fixture.press(QDialogButtonBox::Ok);
            QCOMPARE(fixture.dialog.warningLevel, level ^ bit);
        }
    }

    void clearingAllBoxesGivesZero()
    {
        PreferencesFixture fixture(15);
        for (const quint32 bit : {1U, 2U, 4U, 8U})
            fixture.toggle(bit);
        fixture.press(QDialogButtonBox::Ok);
        QCOMPARE(fixture.dialog.warningLevel, 0U);
    }

    void cancelAfterChangesKeepsTheOldLevel()
    {
        PreferencesFixture fixture(5);
        fixture.toggle(1);
        fixture.toggle(2);
        fixture.press(QDialogButtonBox::Cancel);
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(fixture.dialog.result(), int(QDialog::Rejected));
        QCOMPARE(fixture.dialog.warningLevel, 5U);
        QCOMPARE(PreferencesFixture(fixture.dialog.warningLevel).ticked(), 5U);
    }

    void partlyCheckedBoxLeavesItsBit_data()
    {
        QTest::addColumn<quint32>("level");
        QTest::newRow("set") << 15U;
        QTest::newRow("clear") << 0U;
    }

    void partlyCheckedBoxLeavesItsBit()
    {
        QFETCH(quint32, level);
        PreferencesFixture fixture(level);
        for (const quint32 bit : {1U, 2U, 4U, 8U})
            fixture.box(bit)->setCheckState(Qt::PartiallyChecked);
        fixture.press(QDialogButtonBox::Ok);
        QCOMPARE(fixture.dialog.warningLevel, level);
    }

    void tickIsLegible()
    {
        const PreferencesFixture ticked(2);
        const PreferencesFixture clear(0);
        const int different =
            visiblyDifferentPixels(ticked.box(2)->grab().toImage(), clear.box(2)->grab().toImage());
        QVERIFY2(different > 10, qPrintable(QString::number(different)));
    }

    void keysTickAndAccept()
    {
        PreferencesFixture fixture(0);
        QTest::keyClick(fixture.box(2), Qt::Key_Space);
        QTest::keyClick(&fixture.dialog, Qt::Key_Return);
        QCOMPARE(fixture.dialog.result(), int(QDialog::Accepted));
        QCOMPARE(fixture.dialog.warningLevel, 2U);
    }
};

QTEST_MAIN(TestBVPreferencesDialog)
#include "tst_BVPreferencesDialog.moc"
