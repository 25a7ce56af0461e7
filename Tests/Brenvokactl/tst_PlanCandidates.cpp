// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/PlanCandidates.h"

#include "Brenvokactl/CommandLine.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QRandomGenerator>

using namespace Qt::Literals::StringLiterals;

/// The window and `plan` compare the same slots for the same selection.
class tst_PlanCandidates final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void selectionMeansTheSameAsInABank()
    {
        QRandomGenerator random(24);
        for (int round = 0; round < 20; ++round) {
            WindowFixture fixture;
            Server server = sampleServer(u"Stage left"_s, loopback(1));
            server.folders = randomFolders(random);
            fixture.connectServer(server);
            BVServerBank &bank = fixture.bankA();
            QCOMPARE(planCandidates({}, server), bank.allVisuals());

            bank.selectRows(randomNumbers(random, 0, 256));
            CommandLine folders;
            folders.folders = bank.selectedRows();
            compare(folders, bank);

            const int open = random.bounded(8);
            fixture.controller().folderChanged(open);
            bank.selectRows(randomNumbers(random, 2, 257));
            CommandLine visuals;
            for (const int row : bank.selectedRows())
                visuals.visuals.append({open, row - 1});
            compare(visuals, bank);
        }
    }

    void slotThatIsSelectedTwiceCountsOnce()
    {
        CommandLine line;
        line.folders = {3, 3};
        line.visuals = {{3, 7}, {3, 7}};
        Server server;
        server.folders = fiveFolders();
        QCOMPARE(planCandidates(line, server).size(), 255);
    }

private:
    static void compare(const CommandLine &line, const BVServerBank &bank)
    {
        if (bank.selectedRowCount() > 0)
            QCOMPARE(planCandidates(line, bank.currentServer()), bank.selectedVisuals(false));
    }

    static QList<int> randomNumbers(QRandomGenerator &random, int lowest, int end)
    {
        QList<int> numbers;
        for (int count = random.bounded(6); count > 0; --count)
            numbers.append(random.bounded(lowest, end));
        return numbers;
    }

    static QList<MediaFolder> randomFolders(QRandomGenerator &random)
    {
        QList<MediaFolder> folders;
        for (int count = random.bounded(1, 6); count > 0; --count)
            folders.append(folder(random.bounded(8), u"name"_s));
        return folders;
    }

    static QList<MediaFolder> fiveFolders()
    {
        QList<MediaFolder> folders;
        for (int slot = 0; slot < 5; ++slot)
            folders.append(folder(slot, u"name"_s));
        return folders;
    }
};

QTEST_MAIN(tst_PlanCandidates)
#include "tst_PlanCandidates.moc"
