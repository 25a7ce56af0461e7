// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/TransferDialog.h"
#include "Model/ApplicationModel.h"
#include "Service/ServerConnectionService.h"
#include "Support/Loopback.h"
#include "Support/ScriptedServer.h"
#include "Support/Wait.h"
#include "Tasks/SyncTask.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>

#include <memory>

/// A source that the model knows, a connected scripted destination, and one sync task
/// without a window.
class SyncTaskFixture final
{
public:
    explicit SyncTaskFixture(const QString &destinationIp)
        : destination(destinationIp)
    {
        addServer(sourceUuid, sourceAddress, QStringLiteral("Stage left"));
        addServer(destinationUuid, destination.wire.address(), QStringLiteral("Stage right"));
    }

    void addServer(const QUuid &uuid, const QHostAddress &address, const QString &name,
                   const QList<MediaFolder> &folders = {})
    {
        Server server(uuid, address, 8, name);
        server.connected = true;
        server.folders = folders;
        model.upsertServer(server);
    }

    [[nodiscard]] bool connectDestination()
    {
        QSignalSpy connected(&service, &ServerConnectionService::serverConnected);
        service.addHandler(destination.wire.address(), destinationUuid);
        return destination.openStream() && connected.wait(patience);
    }

    void start(const QList<FolderRename> &renames, const QList<VisualRef> &removals,
               const QList<VisualRef> &transfers)
    {
        task = std::make_unique<SyncTask>(sourceUuid, sourceAddress, destinationUuid,
                                          destination.wire.address(), renames, transfers, removals,
                                          &model, nullptr, &service);
        finished = std::make_unique<QSignalSpy>(task.get(), &TaskBase::taskFinished);
        started = task->start();
    }

    /// Waits until every earlier command has reached the destination: commands keep their order.
    [[nodiscard]] bool settle()
    {
        const qsizetype before = destination.commands(ScriptedServer::Cancel).size();
        service.cancelAllSyncs();
        return waitFor(
            [&] { return destination.commands(ScriptedServer::Cancel).size() > before; });
    }

    /// The task's only dialog of that class, or null.
    template <typename Dialog>
    [[nodiscard]] static Dialog *dialog()
    {
        Dialog *found = nullptr;
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            if (auto *const candidate = qobject_cast<Dialog *>(widget))
                found = candidate;
        }
        return found;
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

    const QUuid sourceUuid = QUuid::createUuid();
    const QUuid destinationUuid = QUuid::createUuid();
    const QHostAddress sourceAddress{loopback(109)};
    ScriptedServer destination;
    ApplicationModel model;
    ServerConnectionService service;
    std::unique_ptr<SyncTask> task;
    std::unique_ptr<QSignalSpy> finished;
    bool started = false;
};
