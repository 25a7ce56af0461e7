// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/MediaFolder.h"
#include "Model/VisualRef.h"
#include "Support/WireServer.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrlQuery>
#include <QUuid>

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

/// A media server whose answers and messages come from the test. Records its commands.
class ScriptedServer final
{
public:
    enum CommandType { Sync = 1, Remove = 2, Move = 3, Cancel = 4, Rename = 5 };
    static constexpr auto success = R"({"msg_type":7,"RESULT":0})";

    explicit ScriptedServer(const QString &ip)
        : wire(ip)
    {
        accept();
    }

    /// Answers every command with this result.
    void answer(const QByteArray &result) { wire.answer(executePath, result); }
    void accept() { answer(success); }
    /// Answers every command with a failure of that text.
    void refuse(const QByteArray &text)
    {
        answer(R"({"msg_type":7,"RESULT":3,"ERROR":")" + text + R"("})");
    }
    void onCommand(const WireServer::Handler &handler) { wire.on(executePath, handler); }
    /// Leaves every command unanswered.
    void hold() { wire.hold(executePath); }
    [[nodiscard]] bool waitForCommands(int count) const
    {
        return wire.waitForRequests(count, executePath);
    }

    /// The commands of all types in the order of arrival.
    [[nodiscard]] QList<WireRequest> requests() const { return wire.requests(executePath); }

    [[nodiscard]] QList<Command> commands(int type) const
    {
        QList<Command> found;
        for (const WireRequest &request : requests()) {
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

    /// Serves that library. Equal libraries have equal hashes, as those of real servers do.
    void setLibrary(const QList<MediaFolder> &folders)
    {
        QJsonArray array;
        for (const MediaFolder &folder : folders)
            array.append(folder.toJson());
        const QByteArray content = QJsonDocument(array).toJson();
        const QByteArray hash = QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
        const QJsonObject document{{QStringLiteral("folders"), array},
                                   {QStringLiteral("hash"), QString::fromLatin1(hash)}};
        wire.answer("/brenvoka/library.json", QJsonDocument(document).toJson(),
                    "X-BVProtocolVersion: 1\r\nX-BVFeatureList: 1\r\n"
                    "Cache-Control: no-store\r\n");
    }
    /// How often the library was asked for.
    [[nodiscard]] qsizetype libraryRequests() const
    {
        return wire.requests("/brenvoka/library.json").size();
    }

    /// Takes the latest stream that a client has asked for and sends its first bytes.
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

    void sendLibraryChanged() const { stream.send(Wire::frame(R"({"msg_type":6})")); }

    const QUuid uuid = QUuid::createUuid();
    WireServer wire;
    WireRequest stream;

private:
    static constexpr auto executePath = "/brenvoka/execute.html";

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
