// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/DeletionDelay.h"

#include "Support/Wait.h"

#include <QEvent>
#include <QPointer>
#include <QTest>
#include <QTimer>

namespace {

class Owner final : public QObject
{
public:
    bool event(QEvent *event) override { return delay.postpones(event) || QObject::event(event); }

    DeletionDelay delay{this};
};

void runNestedLoop()
{
    QEventLoop loop;
    QTimer::singleShot(20, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

/// Deletions that are requested in an event loop inside a running function.
class tst_DeletionDelay : public QObject
{
    Q_OBJECT

private slots:
    void ownerLivesWhileOneOfItsFunctionsRuns()
    {
        const QPointer<Owner> owner = new Owner;
        {
            const DeletionDelay::Scope scope(owner->delay);
            QTimer::singleShot(0, owner, &QObject::deleteLater);
            runNestedLoop();
            QVERIFY(owner);
            {
                const DeletionDelay::Scope inner(owner->delay);
            }
            runNestedLoop();
            QVERIFY(owner);
        }
        QVERIFY(owner);
        EVENTUALLY(!owner);
    }

    void ownerThatRunsAgainBeforeItsDeletionLivesOn()
    {
        const QPointer<Owner> owner = new Owner;
        {
            const DeletionDelay::Scope scope(owner->delay);
            QTimer::singleShot(0, owner, &QObject::deleteLater);
            runNestedLoop();
        }
        {
            const DeletionDelay::Scope scope(owner->delay);
            runNestedLoop();
            QVERIFY(owner);
        }
        EVENTUALLY(!owner);
    }

    void idleOwnerIsDeletedLikeAnyObject()
    {
        const QPointer<Owner> owner = new Owner;
        owner->deleteLater();
        EVENTUALLY(!owner);
    }

    void releasedObjectsLiveAsLong()
    {
        Owner owner;
        const QPointer<QObject> released = new QObject;
        {
            const DeletionDelay::Scope scope(owner.delay);
            QTimer::singleShot(0, &owner, [&] {
                owner.delay.release(released);
                owner.delay.release(released);
            });
            runNestedLoop();
            QVERIFY(released);
        }
        EVENTUALLY(!released);
    }

    void releaseWhileIdleIsDeleteLater()
    {
        Owner owner;
        const QPointer<QObject> released = new QObject;
        owner.delay.release(released);
        QVERIFY(released);
        EVENTUALLY(!released);
    }

    void releasedObjectMayBeDeletedEarlier()
    {
        Owner owner;
        {
            const DeletionDelay::Scope scope(owner.delay);
            auto *released = new QObject;
            owner.delay.release(released);
            delete released;
        }
        runNestedLoop();
    }
};

QTEST_GUILESS_MAIN(tst_DeletionDelay)
#include "tst_DeletionDelay.moc"
