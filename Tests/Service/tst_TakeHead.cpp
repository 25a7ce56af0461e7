// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/TakeHead.h"

#include "Model/VisualRef.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// One letter represents one entry.
class tst_TakeHead : public QObject
{
    Q_OBJECT

private slots:
    void firstEntryAndItsRepeatAreTaken_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("last one") << u"A"_s << u""_s;
        QTest::newRow("without duplicates") << u"ABCD"_s << u"BCD"_s;
        QTest::newRow("the head twice") << u"AA"_s << u"A"_s;
        QTest::newRow("a duplicate is dropped and the next one is sent twice")
            << u"AAB"_s << u"BB"_s;
        QTest::newRow("a duplicate that is not next to the head") << u"ABAC"_s << u"BAC"_s;
        QTest::newRow("duplicates after the head") << u"ABB"_s << u"BB"_s;
        QTest::newRow("all the same") << u"AAA"_s << u"AA"_s;
        QTest::newRow("two pairs") << u"AABB"_s << u"BBB"_s;
    }
    void firstEntryAndItsRepeatAreTaken()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, after);
        QList<QChar> queue(before.begin(), before.end());
        const std::optional<QChar> head = takeHead(queue);
        QCOMPARE(head.value_or(u'-'), before.isEmpty() ? u'-' : before.front());
        QCOMPARE(QString(queue.constData(), queue.size()), after);

        QList<VisualRef> visuals;
        QList<FolderRename> renames;
        for (const QChar letter : before) {
            visuals.append({3, letter.unicode()});
            renames.append({3, QString(letter)});
        }
        takeHead(visuals);
        takeHead(renames);
        QCOMPARE(visuals.size(), after.size());
        QCOMPARE(renames.size(), after.size());
        for (qsizetype i = 0; i < after.size(); ++i) {
            QCOMPARE(visuals.at(i).second, int(after.at(i).unicode()));
            QCOMPARE(renames.at(i).name, after.at(i));
        }
    }

    void bothHalvesOfAnEntryAreCompared()
    {
        QList<VisualRef> visuals{{1, 1}, {1, 2}, {2, 1}};
        takeHead(visuals);
        QCOMPARE(visuals, (QList<VisualRef>{{1, 2}, {2, 1}}));

        QList<FolderRename> renames{{1, u"a"_s}, {1, u"b"_s}, {2, u"a"_s}};
        takeHead(renames);
        QCOMPARE(renames, (QList<FolderRename>{{1, u"b"_s}, {2, u"a"_s}}));
    }
};

QTEST_APPLESS_MAIN(tst_TakeHead)
#include "tst_TakeHead.moc"
