// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/ApplicationModel.h"
#include "Service/ServerConnectionService.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ProgressDialogs.h"
#include "Support/ScriptedServer.h"
#include "Support/Wait.h"
#include "Tasks/TaskBase.h"

#include <QLabel>
#include <QSignalSpy>

#include <memory>

/// A connected scripted server, and one task on it without a window.
class TaskFixture
{
public:
    explicit TaskFixture(const QString &ip)
        : server(ip)
    {
    }

    /// Adds a connected server to the model, or replaces it.
    void addServer(const QUuid &uuid, const QHostAddress &address, const QString &name,
                   const QList<MediaFolder> &folders = {})
    {
        Server record(uuid, address, 8, name);
        record.connected = true;
        record.folders = folders;
        model.upsertServer(record);
    }
    /// Adds a scripted server to the model and connects to it.
    [[nodiscard]] bool connectTo(ScriptedServer &scripted,
                                 const QString &name = QStringLiteral("Stage left"))
    {
        addServer(scripted.uuid, scripted.wire.address(), name);
        QSignalSpy connected(&service, &ServerConnectionService::serverConnected);
        service.addHandler(scripted.wire.address(), scripted.uuid);
        return scripted.openStream() && connected.wait(patience);
    }
    [[nodiscard]] bool connectServer() { return connectTo(server); }

    /// Creates a task on `server`; the arguments are those after the server's id.
    template <typename Task, typename... Arguments>
    void create(const Arguments &...arguments)
    {
        take(std::make_unique<Task>(&model, nullptr, &service, server.uuid, arguments...));
    }
    void take(std::unique_ptr<TaskBase> created)
    {
        task = std::move(created);
        finished = std::make_unique<QSignalSpy>(task.get(), &TaskBase::taskFinished);
    }
    template <typename Task, typename... Arguments>
    void start(const Arguments &...arguments)
    {
        create<Task>(arguments...);
        started = task->start();
    }

    /// The task's dialog of that class, null before its start and after its deletion.
    template <typename Dialog = BVProgressDialog>
    [[nodiscard]] static Dialog *dialog()
    {
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            if (auto *const found = qobject_cast<Dialog *>(widget))
                return found;
        }
        return nullptr;
    }
    [[nodiscard]] static QString label() { return dialog()->findChild<QLabel *>()->text(); }

    /// Waits for the command of that number, from 0, and answers it.
    [[nodiscard]] bool answer(int number, const QByteArray &result = ScriptedServer::success)
    {
        if (!server.waitForCommands(number + 1))
            return false;
        server.requests().at(number).answer(result);
        return true;
    }
    /// Waits until every earlier command has been answered: a cancel is sent after them.
    [[nodiscard]] bool settle()
    {
        server.accept();
        const qsizetype before = server.commands(ScriptedServer::Cancel).size();
        service.cancelAllSyncs();
        return waitFor([&] { return server.commands(ScriptedServer::Cancel).size() > before; });
    }

    static constexpr auto inUse = R"({"msg_type":7,"RESULT":1})";

    ScriptedServer server;
    ApplicationModel model;
    ServerConnectionService service;
    std::unique_ptr<TaskBase> task;
    std::unique_ptr<QSignalSpy> finished;
    bool started = false;
};

/// The base of the tests of a task on one connected server. `init` calls `setUp`, `cleanup` calls
/// `tearDown`.
class TaskTest : public QObject
{
protected:
    void setUp()
    {
        failOnAnyWarning();
        fixture = std::make_unique<TaskFixture>(loopback(1));
        QVERIFY(fixture->connectServer());
    }
    void tearDown() { fixture.reset(); }

    std::unique_ptr<TaskFixture> fixture;
};

/// A row for each result code of a command, with its text.
inline void addResultRows()
{
    QTest::addColumn<QByteArray>("result");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *result, const char *text) {
        QTest::newRow(name) << QByteArray(result) << QString::fromUtf8(text);
    };
    row("1", TaskFixture::inUse, "Visual is in use");
    row("2", R"({"msg_type":7,"RESULT":2})", "Unknown failure");
    row("3", R"({"msg_type":7,"RESULT":3,"ERROR":"No %1 space"})", "No %1 space");
    row("3 without a text", R"({"msg_type":7,"RESULT":3})", "");
    row("4", R"({"msg_type":7,"RESULT":4})", "Media library folder is in use");
    row("5", R"({"msg_type":7,"RESULT":5})", "Reserved or read-only folder");
    row("any other", R"({"msg_type":7,"RESULT":6})", "");
    row("another message", R"({"msg_type":6,"RESULT":0})", "Invalid response data");
    row("no document", "<html>", "Invalid response data");
}
