// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QAccessible>
#include <QComboBox>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString same = u"same on both servers"_s;
const QString differs = u"differs"_s;

/// A new interface at each call: without a screen reader Qt does not update an interface when the
/// rows change.
QAccessibleInterface &accessible(const BVServerBank &bank)
{
    auto *const former = QAccessible::queryAccessibleInterface(&listOf(bank));
    QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(former));
    return *QAccessible::queryAccessibleInterface(&listOf(bank));
}

QString name(const BVServerBank &bank, int row)
{
    return accessible(bank).child(row)->text(QAccessible::Name);
}

QString description(const BVServerBank &bank, int row)
{
    return accessible(bank).child(row)->text(QAccessible::Description);
}

/// Folder 1 has another name on the other server, and slot 5 of folder 3 is empty there.
Server otherServer(const Server &first)
{
    Server server = sampleServer(u"Stage right"_s, loopback(102));
    server.hash = hashOf(2);
    server.folders[1].name = u"Others"_s;
    server.folders[3] = folder(3, first.folders[3].name, {cachedVisual(3, u"Sunset"_s, 3)});
    return server;
}

/// Two servers in the banks that differ in folder 1 and in slot 5 of folder 3.
class MarksFixture final : public WindowFixture
{
public:
    MarksFixture()
    {
        connectServer(left);
        connectServer(right);
    }

    Server left = sampleServer(u"Stage left"_s, loopback(101));
    Server right = otherServer(left);
};

} // namespace

/// What a screen reader reads of a bank's rows and their marks.
class tst_MediaListMarks final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void folderRowsDescribeTheirMarks()
    {
        const MarksFixture fixture;
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            for (const int row : {0, 1, 2, 3, 4, 255})
                QCOMPARE(description(*bank, row), row == 1 || row == 3 ? differs : same);
        }
        QCOMPARE(name(fixture.bankB(), 1), u"Others"_s);
    }

    void slotRowsDescribeTheirMarks()
    {
        const MarksFixture fixture;
        fixture.controller().folderChanged(3);
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            for (const int row : {2, 4, 5, 6, 7, 256})
                QCOMPARE(description(*bank, row), row == 6 ? differs : same);
        }
        // A folder that only one server has is drawn differently.
        fixture.controller().folderChanged(9);
        QCOMPARE(description(fixture.bankA(), 2), same);
    }

    void rowsAboveTheSlotsHaveNoMark()
    {
        const MarksFixture fixture;
        fixture.controller().folderChanged(3);
        for (const int row : {0, 1})
            QCOMPARE(description(fixture.bankA(), row), QString());
        fixture.controller().folderChanged(9);
        for (const int row : {0, 1})
            QCOMPARE(description(fixture.bankA(), row), QString());
        fixture.controller().backToFolders();
        QCOMPARE(description(fixture.bankA(), 0), same);
    }

    void marksFollowTheNextComparison()
    {
        MarksFixture fixture;
        QCOMPARE(description(fixture.bankA(), 1), differs);
        fixture.right.folders = fixture.left.folders;
        fixture.right.folders[2].name = u"Pictures"_s;
        fixture.connectServer(fixture.right);
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            for (const int row : {0, 1, 2, 3})
                QCOMPARE(description(*bank, row), row == 2 ? differs : same);
        }
    }

    void marksBelongToTheDrawnRows()
    {
        const MarksFixture fixture;
        BVServerBank &bank = fixture.bankA();
        // Marks that are not drawn yet, as during the download of a folder's thumbnails.
        bank.sameMarks.set().reset(0);
        bank.currentFolder = 3;
        QCOMPARE(description(bank, 0), same);
        QCOMPARE(description(bank, 1), differs);
        bank.showFolders();
        QCOMPARE(description(bank, 0), differs);
        QCOMPARE(description(bank, 1), same);
    }

    void rowsOfASingleServerHaveNoMark()
    {
        MarksFixture fixture;
        fixture.controller().removeServer(fixture.right.uuid);
        for (const int row : {0, 1, 255})
            QCOMPARE(description(fixture.bankA(), row), QString());
        fixture.connectServer(fixture.right);
        childOf<QComboBox>(fixture.bankB(), "serverComboBox").setCurrentIndex(0);
        QCOMPARE(description(fixture.bankA(), 1), differs);
    }

    void rowsPastTheEndHaveNoMark()
    {
        const MarksFixture fixture;
        for (const int row : {-1, 256, 257, 100000})
            QVERIFY(!fixture.bankA().rowMark(row));
        fixture.controller().folderChanged(3);
        for (const int row : {-1, 0, 1, 257})
            QVERIFY(!fixture.bankA().rowMark(row));
    }

    void rowsCarryNoData()
    {
        const MarksFixture fixture;
        QCOMPARE(description(fixture.bankA(), 1), differs);
        const QListWidgetItem &row = *listOf(fixture.bankA()).item(1);
        QCOMPARE(row.data(Qt::AccessibleDescriptionRole), differs);
        const QListWidgetItem stored(row); // a copy has only what is stored
        for (const int role : {Qt::AccessibleTextRole, Qt::AccessibleDescriptionRole,
                               Qt::ToolTipRole, Qt::StatusTipRole, Qt::WhatsThisRole, Qt::UserRole})
            QVERIFY(!stored.data(role).isValid());
    }

    // A view reports each reset of its rows to a screen reader.
    void newMarksAreAnnounced()
    {
        MarksFixture fixture;
        const QSignalSpy spyA(listOf(fixture.bankA()).model(), &QAbstractItemModel::modelReset);
        const QSignalSpy spyB(listOf(fixture.bankB()).model(), &QAbstractItemModel::modelReset);
        fixture.right.folders = fixture.left.folders;
        fixture.connectServer(fixture.right);
        QVERIFY(!spyA.isEmpty());
        QVERIFY(!spyB.isEmpty());
    }

    void currentRowIsTheFocusedOne()
    {
        const MarksFixture fixture;
        MediaListWidget &list = listOf(fixture.bankA());
        list.setCurrentRow(2);
        const QAccessibleInterface &rows = accessible(fixture.bankA());
        QCOMPARE(rows.focusChild(), rows.child(2));
        QVERIFY(rows.child(2)->state().focused);
        // After a key press in a list Qt reports the number of the row.
        QAccessibleEvent focus(&list, QAccessible::Focus);
        focus.setChild(1);
        QCOMPARE(focus.accessibleInterface()->text(QAccessible::Description), differs);
    }
};

QTEST_MAIN(tst_MediaListMarks)
#include "tst_MediaListMarks.moc"
