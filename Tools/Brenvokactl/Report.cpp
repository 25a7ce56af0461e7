// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/CommandList.h"
#include "Brenvokactl/Commands.h"
#include "Brenvokactl/ResultWriter.h"
#include "Model/ApplicationModel.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype mostChecks = 64;

/// The files of the new directory, as they are written.
class ReportDirectory final
{
public:
    explicit ReportDirectory(const QString &path)
        : directory(path)
    {
    }

    void write(const QString &name, const QByteArray &content, const QString &purpose)
    {
        QFile file(directory.filePath(name));
        directory.mkpath(QFileInfo(name).path());
        if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
            file.flush())
            files.append({name, QString::number(content.size()), purpose});
        else if (error.isEmpty())
            error = u"%1: %2"_s.arg(file.fileName(), file.errorString());
    }

    void copy(const QString &name, const QString &path, const QString &purpose)
    {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            write(name, file.readAll(), purpose);
    }

    QList<QStringList> files; ///< name, size, purpose
    QString error;            ///< the first one

private:
    QDir directory;
};

QString logDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u"/logs"_s;
}

QByteArray versions()
{
    return (versionLine() + u"Qt %1\n%2, kernel %3, %4\n"_s.arg(
                                QString::fromLatin1(qVersion()), QSysInfo::prettyProductName(),
                                QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture()))
        .toUtf8();
}

QStringList logFiles()
{
    QStringList paths;
    QDirIterator found(logDirectory(), QDir::Files, QDirIterator::Subdirectories);
    while (found.hasNext())
        paths.append(found.next());
    return paths;
}

void copyLogs(ReportDirectory &directory, const QStringList &paths)
{
    const QDir logs(logDirectory());
    for (const QString &path : paths) {
        directory.copy(u"logs/"_s + logs.relativeFilePath(path), path,
                       u"a log of the window: names and addresses of servers"_s);
    }
}

/// The addresses that the log of the window has: it cannot be heard while the window has the port.
QStringList addressesInLog()
{
    static const QRegularExpression line(u"Found new server[^|]*\\| ([0-9.]+) \\|"_s);
    QFile file(logDirectory() + u"/Brenvoka.log"_s);
    QStringList addresses;
    if (file.open(QIODevice::ReadOnly)) {
        auto matches = line.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext())
            addresses.append(matches.next().captured(1));
    }
    return addresses;
}

/// Writes what is heard, and returns the addresses of the servers.
QStringList writeSenders(ReportDirectory &directory, const CommandLine &line)
{
    const auto purpose = u"the senders on UDP port 3001: names and addresses"_s;
    const Expected<Result> heard = Commands::listen(line);
    if (!heard) {
        directory.write(u"listen.txt"_s, heard.error.toUtf8() + '\n', purpose);
        return addressesInLog();
    }
    directory.write(u"listen.txt"_s, formatted(*heard, Format::Text, false), purpose);
    QStringList addresses;
    const QJsonArray senders = heard->json[u"senders"_s].toArray();
    for (const auto sender : senders) {
        if (sender[u"listed"_s].toBool())
            addresses.append(sender[u"address"_s].toString());
    }
    return addresses;
}

void writeChecks(ReportDirectory &directory, QStringList addresses, CommandLine line)
{
    addresses.removeDuplicates();
    for (const QString &address : addresses.first(std::min(addresses.size(), mostChecks))) {
        line.arguments = {address};
        const Expected<Result> result = Commands::check(line);
        const QByteArray text =
            result ? formatted(*result, Format::Text, false) : result.error.toUtf8() + '\n';
        directory.write(u"check-%1.txt"_s.arg(address), text,
                        u"the check of that server: names of folders and visuals"_s);
    }
}

Result resultOf(const QString &path, const ReportDirectory &directory)
{
    Result result;
    result.summary = {u"Written to %1"_s.arg(path)};
    result.columns = {{u"file"_s}, {u"bytes"_s}, {u"contents"_s}};
    result.rows = directory.files;
    result.remarks = {u"Names and addresses of this network and the name of this user may be in "
                      "these files. Look at them before you send them."_s};
    QJsonArray files;
    for (const QStringList &file : directory.files)
        files.append(QJsonObject{{u"file"_s, file.at(0)},
                                 {u"bytes"_s, file.at(1).toLongLong()},
                                 {u"contents"_s, file.at(2)}});
    result.json = {{u"directory"_s, path}, {u"files"_s, files}};
    return result;
}

} // namespace

Expected<Result> Commands::report(const CommandLine &line)
{
    const QString path = line.arguments.at(0);
    if (QFileInfo::exists(path))
        return Expected<Result>::failure(path + u": it exists; a new directory is needed"_s);
    // Listed before the report exists: its directory may be among the logs.
    const QStringList logs = logFiles();
    if (!QDir().mkdir(path))
        return Expected<Result>::failure(path + u": the directory cannot be created"_s);
    ReportDirectory directory(path);
    directory.write(u"versions.txt"_s, versions(), u"versions of the tool, of Qt and the system"_s);
    directory.copy(u"settings.ini"_s, settingsFilePath(), u"the settings of the window"_s);
    copyLogs(directory, logs);
    writeChecks(directory, writeSenders(directory, line), line);
    if (!directory.error.isEmpty()) {
        QDir(path).removeRecursively();
        return Expected<Result>::failure(directory.error);
    }
    return resultOf(path, directory);
}
