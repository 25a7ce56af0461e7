// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "UI/MediaListTesting.h"

#include <QComboBox>

/// What a screen reader is told of the marks.
class tst_MediaListMarks final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void foldersSpeakOfTheirMarks();
    void slotsSpeakOfTheirMarks();
    void rowsAboveTheSlotsHaveNoMark();
    void marksFollowTheNextComparison();
    void marksAreThoseOfTheRowsOnShow();
    void oneServerIsComparedWithNothing();
    void thereIsNoMarkPastTheEnd();
    void rowsCarryNoData();
};

void tst_MediaListMarks::foldersSpeakOfTheirMarks()
{
    const Comparison comparison;
    for (const BVServerBank *const bank : {&comparison.bankA(), &comparison.bankB()}) {
        for (const int row : {0, 1, 2, 3, 4, 255})
            QCOMPARE(description(*bank, row), row == 1 || row == 3 ? differs : same);
    }
    QCOMPARE(name(*accessible(listOf(comparison.bankB())).child(1)), u"Others"_s);
}

void tst_MediaListMarks::slotsSpeakOfTheirMarks()
{
    const Comparison comparison;
    comparison.rig.controller().folderChanged(3);
    for (const BVServerBank *const bank : {&comparison.bankA(), &comparison.bankB()}) {
        for (const int row : {2, 4, 5, 6, 7, 256})
            QCOMPARE(description(*bank, row), row == 6 ? differs : same);
    }
    // A folder that only one server has is drawn in another way.
    comparison.rig.controller().folderChanged(9);
    QCOMPARE(description(comparison.bankA(), 2), same);
}

void tst_MediaListMarks::rowsAboveTheSlotsHaveNoMark()
{
    const Comparison comparison;
    comparison.rig.controller().folderChanged(3);
    for (const int row : {0, 1})
        QCOMPARE(description(comparison.bankA(), row), QString());
    comparison.rig.controller().folderChanged(9);
    for (const int row : {0, 1})
        QCOMPARE(description(comparison.bankA(), row), QString());
    comparison.rig.controller().backToFolders();
    QCOMPARE(description(comparison.bankA(), 0), same);
}

void tst_MediaListMarks::marksFollowTheNextComparison()
{
    Comparison comparison;
    QCOMPARE(description(comparison.bankA(), 1), differs);
    comparison.right.folders = comparison.left.folders;
    comparison.right.folders[2].name = u"Pictures"_s;
    comparison.rig.connectServer(comparison.right);
    for (const BVServerBank *const bank : {&comparison.bankA(), &comparison.bankB()}) {
        for (const int row : {0, 1, 2, 3})
            QCOMPARE(description(*bank, row), row == 2 ? differs : same);
    }
}

void tst_MediaListMarks::marksAreThoseOfTheRowsOnShow()
{
    const Comparison comparison;
    BVServerBank &bank = comparison.bankA();
    // What has not been drawn yet, as while a folder's thumbnails are on their way.
    bank.sameMarks.set().reset(0);
    bank.currentFolder = 3;
    QCOMPARE(description(bank, 0), same);
    QCOMPARE(description(bank, 1), differs);
    bank.showFolders();
    QCOMPARE(description(bank, 0), differs);
    QCOMPARE(description(bank, 1), same);
}

void tst_MediaListMarks::oneServerIsComparedWithNothing()
{
    Comparison comparison;
    comparison.rig.controller().removeServer(comparison.right.uuid);
    for (const int row : {0, 1, 255})
        QCOMPARE(description(comparison.bankA(), row), QString());
    comparison.rig.connectServer(comparison.right);
    childOf<QComboBox>(comparison.bankB(), "serverComboBox").setCurrentIndex(0);
    QCOMPARE(description(comparison.bankA(), 1), differs);

    // A list that stands in no bank.
    const Twins twins;
    QCOMPARE(description(*accessible(*twins.ours).child(0)), QString());
}

void tst_MediaListMarks::thereIsNoMarkPastTheEnd()
{
    const Comparison comparison;
    for (const int row : {-1, 256, 257, 100000})
        QVERIFY(!comparison.bankA().rowMark(row));
    comparison.rig.controller().folderChanged(3);
    for (const int row : {-1, 0, 1, 257})
        QVERIFY(!comparison.bankA().rowMark(row));
}

void tst_MediaListMarks::rowsCarryNoData()
{
    const Comparison comparison;
    QCOMPARE(description(comparison.bankA(), 1), differs);
    const QListWidgetItem &row = *listOf(comparison.bankA()).item(1);
    for (const int role : {Qt::AccessibleTextRole, Qt::AccessibleDescriptionRole, Qt::ToolTipRole,
                           Qt::StatusTipRole, Qt::WhatsThisRole, Qt::UserRole})
        QVERIFY(!row.data(role).isValid());
}

QTEST_MAIN(tst_MediaListMarks)
#include "tst_MediaListMarks.moc"
