// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#define QT_STATICPLUGIN

#include "Service/ThumbnailFixture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QTest>
#include <QtPlugin>

using namespace Qt::Literals::StringLiterals;

namespace {

int readings = 0;

/// Reads a body such as "picture svg" as a red picture of that format.
class RedPicture final : public QImageIOHandler
{
public:
    [[nodiscard]] static QByteArray formatOf(QIODevice *device)
    {
        const QByteArray body = device->peek(64);
        return body.startsWith("picture ") ? body.sliced(8) : QByteArray();
    }

    [[nodiscard]] bool canRead() const override { return !formatOf(device()).isEmpty(); }
    bool read(QImage *image) override
    {
        ++readings;
        *image = QImage(size, QImage::Format_RGB32);
        image->fill(Qt::red);
        return true;
    }
    [[nodiscard]] bool supportsOption(ImageOption option) const override { return option == Size; }
    [[nodiscard]] QVariant option(ImageOption) const override
    {
        ++readings; // an SVG is read as a whole for its size
        return size;
    }

private:
    static constexpr QSize size{20, 20};
};

} // namespace

/// Stands for the plugins of Qt and of the desktop.
class RedPicturePlugin final : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid)

public:
    [[nodiscard]] Capabilities capabilities(QIODevice *device, const QByteArray &) const override
    {
        return device && !RedPicture::formatOf(device).isEmpty() ? CanRead : Capabilities();
    }
    [[nodiscard]] QImageIOHandler *create(QIODevice *device, const QByteArray &) const override
    {
        auto *const handler = new RedPicture;
        handler->setDevice(device);
        handler->setFormat(RedPicture::formatOf(device));
        return handler;
    }
};

/// Which of the formats that are installed a thumbnail may have.
class tst_ThumbnailFormats : public ThumbnailFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        start(loopback(1));
        readings = 0;
    }
    void cleanup() { stop(); }

    void formatsOfPixelsAreRead_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"png", "jpeg", "gif", "bmp", "ico", "ppm", "webp", "tiff"})
            QTest::newRow(format) << QByteArray(format);
    }
    void formatsOfPixelsAreRead()
    {
        QFETCH(const QByteArray, format);
        QCOMPARE(colorOfAnswer("picture " + format), QColor(Qt::red));
    }

    // An SVG may name files of this machine, which Qt opens, and an EPS is a program.
    void otherFormatsAreNotRead_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"svg", "svgz", "pdf", "eps", "unknown"})
            QTest::newRow(format) << QByteArray(format);
    }
    void otherFormatsAreNotRead()
    {
        QFETCH(const QByteArray, format);
        QCOMPARE(colorOfAnswer("picture " + format), QColor());
        QCOMPARE(readings, 0);
    }

private:
    /// The colour of the thumbnail with that body; invalid if the slot is empty.
    [[nodiscard]] QColor colorOfAnswer(const QByteArray &body)
    {
        peer->answer(thumbnails, body);
        load(*loader, {{9, u"x"_s}});
        if (!waitFor([this] { return loader->finished.size() == 1; }))
            qFatal("The load did not finish");
        return colorOf(loader->pixmaps().at(9));
    }
};

Q_IMPORT_PLUGIN(RedPicturePlugin)

QTEST_MAIN(tst_ThumbnailFormats)
#include "tst_ThumbnailFormats.moc"
