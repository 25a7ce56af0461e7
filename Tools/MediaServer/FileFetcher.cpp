// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/FileFetcher.h"

#include "MediaServer/FileHash.h"

#include <QFile>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A running download: writes and hashes the bytes as they arrive.
struct Download
{
    QFile file;
    QCryptographicHash hash{QCryptographicHash::Md5};
    qint64 received = 0;
    qint64 total = 0;
    QString fileName;
    QString expectedHash;
    int status = 0;

    explicit Download(const QString &path)
        : file(path)
    {
    }

    bool begin(const httplib::Response &response)
    {
        status = response.status;
        total = QByteArray::fromStdString(response.get_header_value("Content-Length")).toLongLong();
        fileName = QUrl::fromPercentEncoding(
            QByteArray::fromStdString(response.get_header_value(MediaRoute::fileNameHeader)));
        expectedHash = QString::fromStdString(response.get_header_value(MediaRoute::hashHeader));
        return status == 200;
    }

    bool write(const char *data, std::size_t size)
    {
        const auto length = static_cast<qint64>(size);
        hash.addData(QByteArrayView(data, length));
        received += length;
        return file.write(data, length) == length;
    }
};

FileFetcher::Result failed(FileFetcher::Failure failure, const QString &error)
{
    return {failure, error, {}, {}};
}

} // namespace

std::string MediaRoute::path(SlotId slot)
{
    return "/media/" + std::to_string(slot.folder) + '/' + std::to_string(slot.visual);
}

FileFetcher::FileFetcher(MediaLink &mediaLink)
    : link(mediaLink)
{
}

bool FileFetcher::connectTo(const QString &serverUrl)
{
    if (client && serverUrl == server)
        return true;
    const QUrl url(serverUrl, QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != "http"_L1 || url.host().isEmpty() || url.port() < 1)
        return false;
    auto newClient = std::make_unique<httplib::Client>(url.host().toStdString(), url.port());
    newClient->set_keep_alive(true);
    newClient->set_tcp_nodelay(true);
    newClient->set_connection_timeout(3);
    newClient->set_read_timeout(30);
    const std::lock_guard lock(mutex);
    client = std::move(newClient);
    server = serverUrl;
    return true;
}

FileFetcher::Result FileFetcher::fetch(SlotId slot, const QString &destination,
                                       const Progress &progress)
{
    Download download(destination);
    if (!download.file.open(QIODevice::WriteOnly))
        return failed(Failure::Disk, download.file.errorString());
    const auto keepGoing = [&] { return progress(download.received, download.total); };
    const httplib::Result result = client->Get(
        MediaRoute::path(slot),
        [&](const httplib::Response &response) { return download.begin(response); },
        [&](const char *data, std::size_t size) {
            return download.write(data, size) && link.transmit(size, keepGoing);
        });
    if (download.status != 0 && download.status != 200)
        return failed(Failure::Network,
                      u"The source answered with status %1"_s.arg(download.status));
    if (!download.file.flush() || download.file.error() != QFileDevice::NoError)
        return failed(Failure::Disk, download.file.errorString());
    if (!result)
        return failed(Failure::Network, QString::fromStdString(httplib::to_string(result.error())));
    const QString hash = hashText(download.hash);
    if (hash != download.expectedHash)
        return failed(Failure::Network, u"The received file does not match its hash"_s);
    return {Failure::None, {}, download.fileName, hash};
}

void FileFetcher::stop()
{
    const std::lock_guard lock(mutex);
    if (client)
        client->stop();
}
