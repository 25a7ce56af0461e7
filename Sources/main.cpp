// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "System/ProcessSetup.h"
#include "System/SingleInstance.h"
#include "UI/BVMainWindow.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmapCache>
#include <QStandardPaths>

#include <cstdlib>
#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int pixmapCacheKilobytes = 40960;

/// Call before any use of QStandardPaths: its paths contain these names.
void setIdentity()
{
    QCoreApplication::setOrganizationName(u"Zorvik"_s);
    QGuiApplication::setApplicationDisplayName(u"Brenvoka"_s);
    QCoreApplication::setApplicationName(u"Brenvoka"_s);
    QCoreApplication::setApplicationVersion(u"1.0"_s);
}

QString dataPath()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return path.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::TempLocation) : path;
}

boost::filesystem::path nativePath(const QString &path)
{
#ifdef _WIN32
    return path.toStdWString();
#else
    return QFile::encodeName(path).toStdString();
#endif
}

/// Without a writable log directory the program runs without a log.
void startLog()
{
    const QString path = dataPath();
    if (path.isEmpty())
        return;
    const QDir directory(path + u"/logs"_s);
    if (!directory.mkpath(directory.absolutePath()))
        return;
    try {
        Zor::Log::init(nativePath(directory.filePath(u"Brenvoka.log"_s)));
    } catch (const std::exception &) {
    }
}

int run()
{
    ApplicationModel model;
    model.load();
    QPixmapCache::setCacheLimit(pixmapCacheKilobytes);
    BVMainWindow window(&model);
    window.show();
    const int result = QApplication::exec();
    model.save();
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    ProcessSetup::prepare();
    if (!SingleInstance::acquire())
        std::exit(0);

    const QApplication application(argc, argv);
    setIdentity();
    startLog();
    return run();
}
