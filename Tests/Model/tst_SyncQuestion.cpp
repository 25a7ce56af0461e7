// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/SyncQuestion.h"

#include "Model/LibraryComparison.h"
#include "Model/Warnings.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QList<VisualRef> visuals(int count)
{
    QList<VisualRef> result;
    for (int slot = 1; slot <= count; ++slot)
        result.append({3, slot});
    return result;
}

} // namespace

/// Which question is asked before a synchronisation, and its text.
class tst_SyncQuestion final : public QObject
{
    Q_OBJECT

private slots:
    void kindDependsOnTheNumberAndTheLoss_data()
    {
        QTest::addColumn<int>("removals");
        QTest::addColumn<int>("transfers");
        QTest::addColumn<bool>("replaces");
        QTest::addColumn<quint32>("level");
        QTest::addColumn<SyncQuestion::Kind>("kind");
        const quint32 all = Warnings::all;
        const quint32 notLarge = all & ~Warnings::largeSync;
        const quint32 notDestructive = all & ~Warnings::destructive;
        QTest::newRow("nothing") << 0 << 0 << false << all << SyncQuestion::None;
        QTest::newRow("ten new") << 0 << 10 << false << all << SyncQuestion::None;
        QTest::newRow("eleven new") << 0 << 11 << false << all << SyncQuestion::Large;
        QTest::newRow("five and six") << 5 << 6 << false << all << SyncQuestion::Large;
        QTest::newRow("one removed") << 1 << 0 << false << all << SyncQuestion::Destructive;
        QTest::newRow("one replaced") << 0 << 1 << true << all << SyncQuestion::Destructive;
        QTest::newRow("large silenced, new") << 0 << 11 << false << notLarge << SyncQuestion::None;
        QTest::newRow("large silenced, removed")
            << 11 << 0 << false << notLarge << SyncQuestion::Destructive;
        QTest::newRow("loss silenced, one removed")
            << 1 << 0 << false << notDestructive << SyncQuestion::None;
        QTest::newRow("loss silenced, eleven removed")
            << 11 << 0 << false << notDestructive << SyncQuestion::Large;
    }
    void kindDependsOnTheNumberAndTheLoss()
    {
        QFETCH(const int, removals);
        QFETCH(const int, transfers);
        QFETCH(const bool, replaces);
        QFETCH(const quint32, level);
        const LibraryComparison::SyncPlan plan{
            {{3, u"new name"_s}}, visuals(removals), visuals(transfers), replaces};
        const SyncQuestion question(plan, level, u"One"_s, u"Two"_s);
        QTEST(question.kind(), "kind");
        QCOMPARE(question.text().isEmpty(), question.kind() == SyncQuestion::None);
    }

    void textOfALargeSyncNamesTheServers()
    {
        const SyncQuestion question({{}, {}, visuals(12), false}, Warnings::all, u"%3"_s, u"%1"_s);
        QCOMPARE(
            question.text(),
            u"You are trying to synchronize 12 visuals from server %3 to server %1.\n"
            "\nAre you sure you want to continue?\n\nNote: The operation can not be undone."_s);
    }

    void textOfALargeSyncStatesTheLoss()
    {
        const SyncQuestion question({{}, visuals(12), {}, false}, Warnings::all, u"a"_s, u"b"_s);
        QCOMPARE(
            question.text(),
            u"You are trying to synchronize 12 visuals from server a to server b.\n"
            "The operation may permanently remove or replace visuals in destination slots."
            "\nAre you sure you want to continue?\n\nNote: The operation can not be undone."_s);
    }

    void textOfASmallSync()
    {
        const SyncQuestion question({{}, visuals(1), {}, false}, Warnings::all, u"a"_s, u"b"_s);
        QCOMPARE(question.text(),
                 u"Are you sure you want to synchronize the selected visuals?\n"
                 "The operation may permanently remove or replace visuals in destination slots\n\n"
                 "Note: The operation can not be  undone."_s);
    }
};

QTEST_APPLESS_MAIN(tst_SyncQuestion)
#include "tst_SyncQuestion.moc"
