// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/EnteredLog.h"
#include "Support/FailOnWarning.h"
#include "Support/SyncRig.h"

using namespace Qt::Literals::StringLiterals;

/// A program of its own, because the log's levels can be seen only in one.
class tst_SyncTaskLevel : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aFailedTransferIsAnError()
    {
        const EnteredLog log;
        SyncRig rig(u"127.60.1.5"_s);
        rig.start({}, {}, {{3, 17}});
        emit rig.service.syncError(rig.destinationUuid, 3, 17, Brenvoka::SyncTransferring, {}, {});
        const QString text = u"Server Stage right failed to download URL \"Stage right\"."_s;
        QCOMPARE(EnteredLog::lines.filter(text), QStringList{u"4 "_s + text});
    }
};

QTEST_MAIN(tst_SyncTaskLevel)
#include "tst_SyncTaskLevel.moc"
