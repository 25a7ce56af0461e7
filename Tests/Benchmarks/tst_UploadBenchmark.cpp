// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/AnsweringServer.h"
#include "Benchmarks/Comparison.h"
#include "Protocol/Urls.h"
#include "Service/ServerConnectionHandler.h"
#include "Support/Loopback.h"
#include "Support/ProcessUse.h"

#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTemporaryFile>
#include <QTest>

#include <sys/resource.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Its bytes are not on the disk: they are read as zeros.
class EmptyFile final
{
public:
    explicit EmptyFile(qint64 size)
    {
        if (!file.open() || !file.resize(size))
            qFatal("Cannot create the file");
    }
    [[nodiscard]] QString path() const { return file.fileName(); }

private:
    QTemporaryFile file;
};

void uploadByHandler(const QHostAddress &address, const EmptyFile &file)
{
    ServerConnectionHandler handler(address, QUuid::createUuid());
    QEventLoop loop;
    QObject::connect(&handler, &ServerConnectionHandler::uploadedFileFinished, &loop,
                     &QEventLoop::quit);
    QObject::connect(&handler, &ServerConnectionHandler::uploadedFileError, &loop,
                     [] { qFatal("The upload has failed"); });
    handler.requestUpload(0, 1, file.path());
    loop.exec();
}

/// What Qt takes without the program's form: the file is the whole body.
void uploadByManager(const QHostAddress &address, const EmptyFile &file)
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QFile body(file.path());
    if (!body.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        qFatal("The file cannot be opened");
    QNetworkRequest request(Protocol::uploadUrl(address));
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/octet-stream"_ba);
    const std::unique_ptr<QNetworkReply> reply(manager.post(request, &body));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (reply->error() != QNetworkReply::NoError)
        qFatal("The upload has failed");
}

/// The processor time of all ended child processes, in milliseconds.
double processorClockOfChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto milliseconds = [](const timeval &time) {
        return double(time.tv_sec) * 1000 + double(time.tv_usec) / 1000;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

double uploadByCurl(const QHostAddress &address, const EmptyFile &file)
{
    const double begin = processorClockOfChildren();
    QProcess curl;
    curl.start(u"curl"_s, {u"--silent"_s, u"--fail"_s, u"-H"_s, u"Expect:"_s, u"-F"_s,
                           u"visualFile=@"_s + file.path(),
                           u"http://%1:4567/brenvoka/upload.html"_s.arg(address.toString())});
    if (!curl.waitForFinished(-1) || curl.exitCode() != 0)
        qFatal("curl has failed");
    return processorClockOfChildren() - begin;
}

} // namespace

/// The upload of a long film.
class tst_UploadBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void threeGigabytes()
    {
        const AnsweringServer server(loopback(1));
        constexpr qint64 size = 3'000'000'000;
        const EmptyFile full(size);
        const EmptyFile quarter(size / Comparison::small);
        const auto file = [&](int part) -> const EmptyFile & { return part == 1 ? full : quarter; };
        QList<double> growths;
        compareSizes(
            [&](int part) {
                const double before = ProcessUse::memory();
                if (!ProcessUse::resetMemoryPeak())
                    qFatal("The peak of the memory cannot be reset");
                const double time =
                    processorTime([&] { uploadByHandler(server.address(), file(part)); });
                growths.append(ProcessUse::memoryPeak() - before);
                return time;
            },
            [&](int part) { return uploadByCurl(server.address(), file(part)); })
            .print({"3 GB upload", "`curl -F` to the same server", 1.3, 1.1});
        const double growth = median(growths);
        // Not a row: how much of the upload's cost is Qt's own.
        qInfo(
            "The upload costs %.2f of one by a bare QNetworkAccessManager",
            compareCosts(
                [&] { return processorTime([&] { uploadByHandler(server.address(), quarter); }); },
                [&] { return processorTime([&] { uploadByManager(server.address(), quarter); }); })
                .ratio());
        Row{"memory growth during that", "-", 32, 16, "MB"}.print(growth, QString::number(growth));
    }
};

QTEST_GUILESS_MAIN(tst_UploadBenchmark)
#include "tst_UploadBenchmark.moc"
