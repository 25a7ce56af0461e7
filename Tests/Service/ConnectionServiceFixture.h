// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Service/HandlerFixture.h"
#include "Service/ServerConnectionService.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <memory>

/// The addresses and ids of the two servers.
inline const QHostAddress firstAddress(loopback(1));
inline const QHostAddress secondAddress(loopback(2));
inline const QUuid firstId(u"{11111111-9dc0-11d1-b245-5ffdce74fad2}"_s);
inline const QUuid secondId(u"{22222222-9dc0-11d1-b245-5ffdce74fad2}"_s);
inline const QUuid unknownId(u"{33333333-9dc0-11d1-b245-5ffdce74fad2}"_s);
inline const QByteArray libraryChanged = json("{'msg_type':6}");

/// A call of the service for one server.
using Operation = std::function<void(ServerConnectionService &, const QUuid &)>;

/// Every signal of the service, in order, as a line; the servers are called first and second.
class ServiceEvents final : public QObject
{
public:
    explicit ServiceEvents(const ServerConnectionService &service)
    {
        using S = ServerConnectionService;
        record(service, &S::syncProgressUpdate, u"syncProgressUpdate"_s);
        record(service, &S::syncFinished, u"syncFinished"_s);
        record(service, &S::syncError, u"syncError"_s);
        record(service, &S::syncOperationFinished, u"syncOperationFinished"_s);
        record(service, &S::uploadedFileProgress, u"uploadedFileProgress"_s);
        record(service, &S::uploadedFileError, u"uploadedFileError"_s);
        record(service, &S::uploadedFileFinished, u"uploadedFileFinished"_s);
        record(service, &S::movedFileError, u"movedFileError"_s);
        record(service, &S::movedFileFinished, u"movedFileFinished"_s);
        record(service, &S::serverLibraryChanged, u"serverLibraryChanged"_s);
        record(service, &S::serverUpdateStats, u"serverUpdateStats"_s);
        record(service, &S::serverDisconnected, u"serverDisconnected"_s);
        record(service, &S::serverConnected, u"serverConnected"_s);
        record(service, &S::visualRemoveError, u"visualRemoveError"_s);
        record(service, &S::visualRemoveFinished, u"visualRemoveFinished"_s);
        record(service, &S::folderRenameError, u"folderRenameError"_s);
        record(service, &S::folderRenameFinished, u"folderRenameFinished"_s);
    }

    QStringList lines;

private:
    template <typename... Arguments>
    void record(const ServerConnectionService &service,
                void (ServerConnectionService::*signal)(Arguments...), const QString &name)
    {
        connect(&service, signal, this, [this, name](const Arguments &...arguments) {
            QStringList words{name};
            (words.append(word(arguments)), ...);
            lines.append(words.join(u' '));
        });
    }

    static QString word(const QUuid &id)
    {
        return id == firstId ? u"first"_s : id == secondId ? u"second"_s : id.toString();
    }
    static QString word(const QHostAddress &address) { return address.toString(); }
    static QString word(const QString &text) { return text; }
    static QString word(bool flag) { return flag ? u"true"_s : u"false"_s; }
    static QString word(int number) { return QString::number(number); }
    static QString word(float number) { return QString::number(number); }
};

/// The service and two servers, of which the first may be connected under `firstId` and the second
/// under `secondId`. Both answer the request of the stream with its head.
class ConnectionServiceFixture
{
public:
    ConnectionServiceFixture()
    {
        for (WireServer *server : {&first, &second}) {
            server->on(notifierPath,
                       [](const WireRequest &request) { request.send(Wire::chunkedHead()); });
        }
    }

    [[nodiscard]] QList<ServerConnectionHandler *> handlers() const
    {
        return service->findChildren<ServerConnectionHandler *>();
    }

    /// Sends bytes on the first server's stream, which must have been opened.
    void sendFromFirst(const QByteArray &bytes) const
    {
        QVERIFY(first.waitForRequests(1, notifierPath));
        first.requests(notifierPath).constFirst().send(Wire::chunk(bytes));
    }

    WireServer first{firstAddress.toString()};
    WireServer second{secondAddress.toString()};
    std::unique_ptr<ServerConnectionService> service = std::make_unique<ServerConnectionService>();
    ServiceEvents events{*service};
};

/// The base of the tests of the service. `init` calls `setUp`, `cleanup` calls `tearDown`.
class ConnectionServiceTest : public QObject
{
protected:
    void setUp()
    {
        failOnAnyWarning();
        fixture = std::make_unique<ConnectionServiceFixture>();
    }
    void tearDown() { fixture.reset(); }

    std::unique_ptr<ConnectionServiceFixture> fixture;
};
