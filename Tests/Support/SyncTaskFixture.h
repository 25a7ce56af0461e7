// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/TransferDialog.h"
#include "Support/TaskFixture.h"
#include "Tasks/SyncTask.h"

#include <QTableWidget>

/// A source that the model knows, a connected scripted destination, and one sync task
/// without a window.
class SyncTaskFixture final : public TaskFixture
{
public:
    explicit SyncTaskFixture(const QString &destinationIp)
        : TaskFixture(destinationIp)
    {
        addServer(sourceUuid, sourceAddress, QStringLiteral("Stage left"));
        addServer(destinationUuid, destination.wire.address(), QStringLiteral("Stage right"));
    }

    [[nodiscard]] bool connectDestination()
    {
        return connectTo(destination, QStringLiteral("Stage right"));
    }

    void start(const QList<FolderRename> &renames, const QList<VisualRef> &removals,
               const QList<VisualRef> &transfers)
    {
        take(std::make_unique<SyncTask>(sourceUuid, sourceAddress, destinationUuid,
                                        destination.wire.address(), renames, transfers, removals,
                                        &model, nullptr, &service));
        started = task->start();
    }

    /// The progress dialog with that window title, or null.
    [[nodiscard]] static BVProgressDialog *progressDialog(const QString &title)
    {
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            auto *const candidate = qobject_cast<BVProgressDialog *>(widget);
            if (candidate && candidate->windowTitle() == title)
                return candidate;
        }
        return nullptr;
    }
    /// The texts of one column of the transfer table: 0 labels, 1 states.
    [[nodiscard]] static QStringList transferTexts(int column)
    {
        const auto *const table = dialog<TransferDialog>()->findChild<QTableWidget *>();
        QStringList texts;
        for (int row = 0; row < table->rowCount(); ++row)
            texts.append(table->item(row, column)->text());
        return texts;
    }

    ScriptedServer &destination = server;
    const QUuid &destinationUuid = server.uuid;
    const QUuid sourceUuid = QUuid::createUuid();
    const QHostAddress sourceAddress{loopback(109)};
};

/// The base of the tests of a synchronisation. `init` calls `setUp`, `cleanup` calls `tearDown`.
class SyncTaskTest : public QObject
{
protected:
    void setUp()
    {
        failOnAnyWarning();
        fixture = std::make_unique<SyncTaskFixture>(loopback(1));
    }
    void tearDown() { fixture.reset(); }

    std::unique_ptr<SyncTaskFixture> fixture;
};
