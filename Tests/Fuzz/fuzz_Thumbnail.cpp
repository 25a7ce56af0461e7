// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Model/MediaFolder.h"
#include "Require.h"
#include "Service/ThumbnailService.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmapCache>

#include <cstring>

namespace {

constexpr QSize thumbnailSize(128, 96);
constexpr qint64 maxPixels = 1 << 24;

/// A reply that is complete.
class ArrivedReply final : public QNetworkReply
{
public:
    ArrivedReply(const QNetworkRequest &request, const QByteArray &content)
        : body(content)
    {
        setRequest(request);
        setUrl(request.url());
        setHeader(QNetworkRequest::ContentLengthHeader, body.size());
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        setFinished(true);
    }

    void abort() override {}
    [[nodiscard]] qint64 bytesAvailable() const override
    {
        return body.size() - position + QNetworkReply::bytesAvailable();
    }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const qint64 count = std::min<qint64>(size, body.size() - position);
        if (count <= 0)
            return -1;
        std::memcpy(data, body.constData() + position, size_t(count));
        position += count;
        return count;
    }

private:
    QByteArray body;
    qint64 position = 0;
};

/// A manager whose every reply has the same content.
class Manager final : public QNetworkAccessManager
{
public:
    QByteArray content;
    QNetworkReply *latest = nullptr;

protected:
    QNetworkReply *createRequest(Operation, const QNetworkRequest &request, QIODevice *) override
    {
        latest = new ArrivedReply(request, content);
        return latest;
    }
};

bool isTooLarge(QByteArray content)
{
    QBuffer buffer(&content);
    const QSize size = QImageReader(&buffer).size();
    return qint64{size.width()} * size.height() > maxPixels;
}

MediaFolder folderWithOneVisual()
{
    MediaFolder folder;
    folder.files.append({QString(32, u'0'), QStringLiteral("visual"), 7});
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*=false");
    static int argumentCount = 0;
    static const QGuiApplication application(argumentCount, nullptr);
    QPixmapCache::setCacheLimit(0);
    return 0;
}

/// Any content gives a picture of the thumbnail size or no picture. Content with more than 16
/// megapixels gives no picture.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Manager manager;
    manager.content = Input(data, size).all();
    ThumbnailService service(thumbnailSize, &manager);
    int loads = 0;
    QPixmap picture;
    QObject::connect(&service, &ThumbnailService::finished, &service,
                     [&](int, const QList<QPixmap> &pixmaps) {
                         ++loads;
                         require(pixmaps.size() == 256);
                         picture = pixmaps[7];
                     });
    service.loadThumbnails(folderWithOneVisual(), 0, QHostAddress(QHostAddress::LocalHost));
    require(manager.latest != nullptr);
    emit manager.finished(manager.latest);
    QCoreApplication::processEvents(); // the picture is decoded in the next turn
    require(loads == 1);
    require(picture.isNull() || picture.size() == thumbnailSize);
    require(picture.isNull() || !isTooLarge(manager.content));
    // deleteLater has no effect here, because no event loop runs.
    delete manager.latest;
    return 0;
}
