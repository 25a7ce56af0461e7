// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Characters.h"
#include "Input.h"
#include "Log/ZorLog.h"
#include "Require.h"

#include <QString>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace {

const QByteArray end = "end of the run\n";

/// A log that writes to a pipe, so that each line can be read as soon as it is written.
class PipedLog final
{
public:
    PipedLog()
    {
        const QByteArray path = directory.filePath(QStringLiteral("pipe")).toLocal8Bit();
        require(::mkfifo(path.constData(), 0600) == 0);
        // Opened for reading and writing, so that opening does not wait for the other end.
        pipe = ::open(path.constData(), O_RDWR | O_CLOEXEC);
        require(pipe > 0);
        Zor::Log::init(path.toStdString());
        (void)finish(); // skips the first line of the log
    }
    ~PipedLog() { Zor::Log::release(); }
    PipedLog(const PipedLog &) = delete;
    PipedLog &operator=(const PipedLog &) = delete;

    /// Writes a line that ends with `end`; returns everything written since the last call.
    [[nodiscard]] QByteArray finish() const
    {
        ZOR_LOG(debug, "%s", end.chopped(1).constData());
        QByteArray text;
        std::array<char, 4096> buffer;
        while (!text.endsWith(end)) {
            const ssize_t count = ::read(pipe, buffer.data(), buffer.size());
            require(count > 0);
            text.append(buffer.data(), count);
        }
        return text;
    }

private:
    QTemporaryDir directory;
    int pipe = 0;
};

} // namespace

/// One call writes one line of UTF-8 without characters that break the line or change its
/// direction. A text without such characters is written unchanged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const PipedLog pipedLog;
    const QByteArray bytes = Input(data, size).all();
    const QByteArray text(bytes.constData()); // up to its first NUL

    ZOR_LOG(info, "<%s>", text.constData());
    const QByteArray written = pipedLog.finish();
    require(written.count('\n') == 2);

    const QByteArray line = written.first(written.indexOf('\n'));
    require(QString::fromUtf8(line).toUtf8() == line);
    require(std::ranges::none_of(QString::fromUtf8(line).toUcs4(), breaksLineOrDirection));

    const QString original = QString::fromUtf8(text);
    if (original.toUtf8() == text && std::ranges::none_of(original.toUcs4(), breaksLineOrDirection))
        require(line.endsWith('<' + text + '>'));
    return 0;
}
