// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Protocol/StreamFraming.h"
#include "Require.h"
#include "Service/HandlerTesting.h"
#include "Support/FramingModel.h"

#include <QCoreApplication>

namespace {

/// A handler that was never connected: its stream cannot begin without an address.
struct DeafHandler
{
    ServerConnectionHandler handler{QHostAddress(), QUuid::createUuid()};
    ServerConnectionHandlerProbe probe{handler};
    HandlerEvents events{handler};

    [[nodiscard]] QStringList eventsOf(const QList<QJsonDocument> &documents)
    {
        probe.forgetTransfers();
        events.lines.clear();
        for (const QJsonDocument &document : documents)
            probe.handle(document);
        return events.lines;
    }
};

DeafHandler &deafHandler()
{
    static int argumentCount = 0;
    static const QCoreApplication application(argumentCount, nullptr);
    static DeafHandler handler;
    return handler;
}

/// Lengths of chunks, used again from the first one for as long as bytes remain. Some chunks are
/// empty, though not in the later rounds.
QByteArrayList cut(const QByteArray &bytes, const QByteArray &lengths)
{
    if (lengths.isEmpty())
        return {bytes};
    QByteArrayList chunks;
    qsizetype at = 0;
    for (qsizetype count = 0; at < bytes.size(); ++count) {
        const int shortest = count < lengths.size() ? 0 : 1;
        const int length = static_cast<std::uint8_t>(lengths[count % lengths.size()]);
        chunks.append(bytes.mid(at, std::max(length, shortest)));
        at += chunks.constLast().size();
    }
    return chunks;
}

/// What the program takes from the chunks, each of which it must take as the model does.
QList<QJsonDocument> take(const QByteArrayList &chunks)
{
    QByteArray buffer;
    QByteArray modelBuffer;
    QList<QJsonDocument> documents;
    for (const QByteArray &chunk : chunks) {
        const QList<QJsonDocument> taken = StreamFraming::takeDocuments(buffer, chunk);
        require(taken == FramingModel::takeDocuments(modelBuffer, chunk));
        require(buffer == modelBuffer);
        documents += taken;
    }
    return documents;
}

} // namespace

/// The first byte is the number of lengths that follow, then comes the stream. It is framed as by
/// the model, and its well-formed frames alone cause the same events however they are cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QByteArray lengths = input.bytes(input.byte() % 16);
    const QByteArray stream = input.all();
    take(cut(stream, lengths));

    QByteArray frames;
    QList<QJsonDocument> documents;
    for (const QByteArray &piece : stream.split('\0')) {
        const QJsonDocument document = QJsonDocument::fromJson(piece);
        if (document.isNull())
            continue;
        documents.append(document);
        frames += piece + '\0';
    }
    const QStringList whole = deafHandler().eventsOf(documents);
    require(deafHandler().eventsOf(take(cut(frames, lengths))) == whole);
    return 0;
}
