// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/ApplicationModel.h"
#include "Service/ServerConnectionService.h"
#include "Support/WireServer.h"
#include "Tasks/SyncTask.h"
#include "UI/BVProgressDialog.h"
#include "UI/TransferDialog.h"

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>
#include <QUrlQuery>

#include <memory>

/// A command as a server read it.
struct Command
{
    int type = 0;
    QUrlQuery fields;

    [[nodiscard]] QString field(const char *name) const
    {
        return fields.queryItemValue(QString::fromLatin1(name), QUrl::FullyDecoded);
    }
    [[nodiscard]] VisualRef visual() const
    {
        return {field("folderIdx").toInt(), field("visualIdx").toInt()};
    }
};

/// A destination server that the test plays: what it was told, and the frames that it sends.
class PlayedServer final
{
public:
    enum CommandType { Sync = 1, Remove = 2, Cancel = 4, Rename = 5 };

    explicit PlayedServer(const QString &ip)
        : wire(ip)
    {
        accept();
    }

    /// Answers every command with success.
    void accept() { wire.answer("/brenvoka/execute.html", R"({"msg_type":7,"RESULT":0})"); }
    /// Answers every command with a failure of that text.
    void refuse(const QByteArray &text)
    {
        wire.answer("/brenvoka/execute.html",
                    R"({"msg_type":7,"RESULT":3,"ERROR":")" + text + R"("})");
    }

    [[nodiscard]] QList<Command> commands(int type) const
    {
        QList<Command> found;
        for (const WireRequest &request : wire.requests("/brenvoka/execute.html")) {
            Command command;
            command.fields.setQuery(QString::fromUtf8(request.body));
            command.type = command.field("req_type").toInt();
            if (command.type == type)
                found.append(command);
        }
        return found;
    }
    [[nodiscard]] QList<VisualRef> visuals(int type) const
    {
        QList<VisualRef> refs;
        for (const Command &command : commands(type))
            refs.append(command.visual());
        return refs;
    }

    /// Takes the stream that a client has asked for and sends its first bytes.
    [[nodiscard]] bool openStream()
    {
        if (!wire.waitForRequests(1, "/brenvoka/notifier.html"))
            return false;
        stream = wire.requests("/brenvoka/notifier.html").last();
        stream.send(Wire::streamHead() + Wire::frame("{}"));
        return true;
    }

    void sendStarted(const VisualRef &visual) { sendSync(1, visual, Brenvoka::SyncQueued); }
    void sendProgress(const VisualRef &visual, Brenvoka::SyncStates state, int percent)
    {
        sendSync(2, visual, state, percent);
    }
    void sendEnded(const VisualRef &visual, Brenvoka::SyncStates state, const QString &error = {})
    {
        sendSync(3, visual, state, 100, error);
    }

    WireServer wire;
    WireRequest stream;

private:
    void sendSync(int type, const VisualRef &visual, Brenvoka::SyncStates state, int percent = 0,
                  const QString &error = {})
    {
        const QString name = QStringLiteral("%1/%2").arg(visual.first).arg(visual.second);
        const QJsonObject sync{
            {QStringLiteral("ID"), QUuid::createUuidV5(QUuid(), name).toString()},
            {QStringLiteral("STATUS"), state},
            {QStringLiteral("FLDIDX"), visual.first},
            {QStringLiteral("VISIDX"), visual.second},
            {QStringLiteral("CPERCENT"), percent},
            {QStringLiteral("SERVER"), QStringLiteral("http://127.0.0.9:4567")},
            {QStringLiteral("ERROR"), error}};
        const QJsonObject message{{QStringLiteral("msg_type"), type},
                                  {QStringLiteral("sync"), sync}};
        stream.send(Wire::frame(QJsonDocument(message).toJson(QJsonDocument::Compact)));
    }
};

/// A source that the model knows, a connected destination that the test plays, and one sync task
/// without a window.
class SyncRig final
{
public:
    explicit SyncRig(const QString &destinationIp)
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
        return destination.openStream() && connected.wait(10000);
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

    /// Waits until every command that was given before has reached the destination: commands never
    /// overtake each other.
    [[nodiscard]] bool settle()
    {
        const qsizetype before = destination.commands(PlayedServer::Cancel).size();
        service.cancelAllSyncs();
        return QTest::qWaitFor(
            [&] { return destination.commands(PlayedServer::Cancel).size() > before; }, 10000);
    }

    /// The task's only dialog of that class, null if there is none.
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
    /// The progress dialog with that window title, null if there is none.
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
    const QHostAddress sourceAddress{QStringLiteral("127.60.0.9")};
    PlayedServer destination;
    ApplicationModel model;
    ServerConnectionService service;
    std::unique_ptr<SyncTask> task;
    std::unique_ptr<QSignalSpy> finished;
    bool started = false;
};
