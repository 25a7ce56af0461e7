// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/AnsweringServer.h"
#include "Benchmarks/Comparison.h"
#include "Protocol/CommandBodies.h"
#include "Protocol/Urls.h"
#include "Service/CommandQueue.h"
#include "Service/Http/ServerRequest.h"
#include "Service/ServerConnectionHandler.h"
#include "Support/Libraries.h"
#include "Support/Loopback.h"
#include "Support/ProcessUse.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Posts bodies with the network manager and nothing else, so many at a time.
void postAll(const QHostAddress &address, const QList<QByteArray> &bodies, qsizetype window)
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QEventLoop loop;
    qsizetype sent = 0;
    qsizetype finished = 0;
    const auto post = [&] {
        QNetworkRequest request = serverRequest(Protocol::executeUrl(address));
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          u"application/x-www-form-urlencoded"_s);
        manager.post(request, bodies.at(sent++));
    };
    QObject::connect(&manager, &QNetworkAccessManager::finished, &loop, [&](QNetworkReply *reply) {
        (void)reply->readAll();
        reply->deleteLater();
        if (++finished == bodies.size())
            loop.quit();
        else if (sent < bodies.size())
            post();
    });
    while (sent < std::min(window, bodies.size()))
        post();
    loop.exec();
}

/// Requests synchronisations from a handler and waits until no command is open.
void syncByHandler(const QHostAddress &address, const QList<VisualRef> &visuals)
{
    ServerConnectionHandler handler(address, QUuid::createUuid());
    handler.requestSync(address, visuals);
    // The removal is a command, too: it is sent after the others.
    QEventLoop loop;
    QObject::connect(&handler, &ServerConnectionHandler::handlerRemoveFinished, &loop,
                     &QEventLoop::quit);
    handler.requestRemove({{0, 1}});
    loop.exec();
}

void removeByHandler(const QHostAddress &address, const QList<VisualRef> &visuals)
{
    ServerConnectionHandler handler(address, QUuid::createUuid());
    QEventLoop loop;
    qsizetype finished = 0;
    QObject::connect(&handler, &ServerConnectionHandler::handlerRemoveFinished, &loop, [&] {
        if (++finished == visuals.size())
            loop.quit();
    });
    handler.requestRemove(visuals);
    loop.exec();
}

QList<QByteArray> syncBodies(const QHostAddress &source, const QList<VisualRef> &visuals)
{
    QList<QByteArray> bodies;
    for (const VisualRef &visual : visuals)
        bodies.append(CommandBodies::sync(Protocol::serverUrl(source), visual));
    return bodies;
}

QList<QByteArray> removeBodies(const QList<VisualRef> &visuals)
{
    QList<QByteArray> bodies;
    for (const VisualRef &visual : visuals)
        bodies.append(CommandBodies::remove(visual));
    return bodies;
}

/// The number of requests in flight with which the bare manager is fastest.
qsizetype bestWindow(const QHostAddress &address, const QList<QByteArray> &bodies)
{
    QList<QPair<double, qsizetype>> times;
    for (const qsizetype window : {1, 2, 4, 6, 12})
        times.append({processorTime([&] { postAll(address, bodies, window); }), window});
    return std::ranges::min(times).second;
}

struct Cost
{
    double time;
    double memory; ///< growth of its peak in MB
};

template <typename Work>
Cost costOf(Work work)
{
    const double before = ProcessUse::memory();
    if (!ProcessUse::resetMemoryPeak())
        qFatal("The peak of the memory cannot be reset");
    const double time = processorTime(work);
    return {time, ProcessUse::memoryPeak() - before};
}

} // namespace

/// The commands of the largest synchronisation, and removals.
class tst_CommandsBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void largestSynchronisation()
    {
        const AnsweringServer server(loopback(1));
        const QList<VisualRef> visuals = allSlots();
        const QList<VisualRef> some = visuals.first(visuals.size() / Comparison::small);
        const qsizetype window =
            bestWindow(server.address(), syncBodies(server.address(), some.first(4000)));
        qInfo("The bare manager is fastest with %d requests in flight", int(window));
        const auto bare = [&](const QList<VisualRef> &refs) {
            // The program computes the bodies, too.
            return costOf(
                [&] { postAll(server.address(), syncBodies(server.address(), refs), window); });
        };
        const auto handler = [&](const QList<VisualRef> &refs) {
            return costOf([&] { syncByHandler(server.address(), refs); });
        };
        Comparison time;
        Comparison memory;
        for (int run = 0; run < 7; ++run) {
            const Cost bareCost = bare(visuals);
            const Cost cost = handler(visuals);
            time.add(cost.time, bareCost.time);
            memory.add(cost.memory, bareCost.memory);
            const Cost smallBareCost = bare(some);
            time.addSmall(handler(some).time, smallBareCost.time);
        }
        time.print({"65,280 commands through the handler",
                    "a bare `QNetworkAccessManager` with the best number in flight", 1.5, 1.2});
        memory.print({"memory growth during that", "the same", 2, 1.2, "MB"});
    }

    void removals()
    {
        const AnsweringServer server(loopback(2));
        const QList<VisualRef> visuals = allSlots().first(5000);
        compareSizes(
            [&](int part) {
                return processorTime([&] {
                    removeByHandler(server.address(), visuals.first(visuals.size() / part));
                });
            },
            [&](int part) {
                return processorTime([&] {
                    postAll(server.address(), removeBodies(visuals.first(visuals.size() / part)),
                            1);
                });
            })
            .print({"5,000 removals", "a bare `QNetworkAccessManager`, one POST after the other",
                    1.5, 1.2});
    }
};

QTEST_GUILESS_MAIN(tst_CommandsBenchmark)
#include "tst_CommandsBenchmark.moc"
