// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Frames.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

std::string frame(int type, QJsonObject message = {})
{
    message.insert("msg_type"_L1, type);
    std::string bytes = QJsonDocument(message).toJson(QJsonDocument::Compact).toStdString();
    bytes.push_back('\0');
    return bytes;
}

QJsonObject idAndState(const TransferInfo &transfer)
{
    return {{u"ID"_s, transfer.id.toString()}, {u"STATUS"_s, static_cast<int>(transfer.state)}};
}

QJsonObject allFields(const TransferInfo &transfer)
{
    QJsonObject sync = idAndState(transfer);
    sync.insert("FLDIDX"_L1, transfer.target.folder);
    sync.insert("VISIDX"_L1, transfer.target.visual);
    sync.insert("SERVER"_L1, transfer.source);
    return sync;
}

} // namespace

std::string Frames::runningTransfers(const std::vector<TransferInfo> &transfers)
{
    QJsonArray array;
    for (const TransferInfo &transfer : transfers)
        array.append(allFields(transfer));
    return frame(0, {{u"active_transfers"_s, array}});
}

std::string Frames::transferStarted(const TransferInfo &transfer)
{
    return frame(1, {{u"sync"_s, allFields(transfer)}});
}

std::string Frames::transferProgress(const TransferInfo &transfer, int percent, int bytesPerSecond)
{
    QJsonObject sync = idAndState(transfer);
    sync.insert("CPERCENT"_L1, percent);
    sync.insert("SPEEDBPS"_L1, bytesPerSecond);
    return frame(2, {{u"sync"_s, sync}});
}

std::string Frames::transferEnded(const TransferInfo &transfer, const QString &error)
{
    QJsonObject sync = allFields(transfer);
    sync.insert("ERROR"_L1, error);
    return frame(3, {{u"sync"_s, sync}});
}

std::string Frames::shuttingDown()
{
    return frame(4);
}

std::string Frames::frameRates(double graph, double total, double monitor, bool fullScreen)
{
    return frame(
        5, {{u"GFPS"_s, graph}, {u"TFPS"_s, total}, {u"MFPS"_s, monitor}, {u"FS"_s, fullScreen}});
}

std::string Frames::libraryChanged()
{
    return frame(6);
}
