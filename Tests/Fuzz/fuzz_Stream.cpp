// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Protocol/StreamFraming.h"
#include "Require.h"
#include "Service/HandlerFixture.h"
#include "Support/FramingModel.h"

#include <QCoreApplication>

namespace {

/// A handler that is never connected, since it has no address.
struct UnconnectedHandler
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

UnconnectedHandler &unconnectedHandler()
{
    static int argumentCount = 0;
    static const QCoreApplication application(argumentCount, nullptr);
    static UnconnectedHandler handler;
    return handler;
}

/// Cuts bytes into chunks of these lengths, which are repeated as long as bytes remain. Chunks can
/// be empty in the first round.
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

/// The documents of the chunks. Requires that the program reads them as the same messages.
QList<QJsonDocument> readDocuments(const QByteArrayList &chunks)
{
    QByteArray buffer;
    QByteArray modelBuffer;
    QList<QJsonDocument> documents;
    for (const QByteArray &chunk : chunks) {
        const QList<QJsonDocument> modelled = FramingModel::takeDocuments(modelBuffer, chunk);
        require(FramingModel::areSame(FramingModel::takeMessages(buffer, chunk), modelled));
        require(buffer == modelBuffer);
        documents += modelled;
    }
    return documents;
}

} // namespace

/// Input: the number of lengths, the lengths, and the stream. It is framed like by the model, and
/// its well-formed frames cause the same events with any lengths of the chunks.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QByteArray lengths = input.bytes(input.byte() % 16);
    const QByteArray stream = input.all();
    readDocuments(cut(stream, lengths));

    QByteArray frames;
    QList<QJsonDocument> documents;
    for (const QByteArray &piece : stream.split('\0')) {
        const QJsonDocument document = QJsonDocument::fromJson(piece);
        if (document.isNull())
            continue;
        documents.append(document);
        frames += piece + '\0';
    }
    const QStringList whole = unconnectedHandler().eventsOf(documents);
    require(unconnectedHandler().eventsOf(readDocuments(cut(frames, lengths))) == whole);
    return 0;
}
