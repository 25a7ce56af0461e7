// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Model/ApplicationModel.h"
#include "Require.h"
#include "Support/Sandbox.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {

/// Each file is one second newer than the previous one: QSettings caches files and does not read a
/// file again whose size and time are the same.
void writeSettings(const QByteArray &content)
{
    static QDateTime time = QDateTime::fromSecsSinceEpoch(0);
    time = time.addSecs(1);
    QFile file(settingsFilePath());
    require(file.open(QIODevice::WriteOnly));
    require(file.write(content) == content.size() && file.flush());
    require(file.setFileTime(time, QFileDevice::FileModificationTime));
}

QByteArray readSettings()
{
    QFile file(settingsFilePath());
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QByteArray expectedFile(const ApplicationModel &model)
{
    return "[General]\nselectedIconSize=" + QByteArray::number(model.selectedIconSize) +
           "\nselectedViewMode=" + (model.selectedViewMode ? "true" : "false") +
           "\nwarningLevel=" + QByteArray::number(model.warningLevel) + '\n';
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    static const Sandbox sandbox;
    static int argumentCount = 0;
    static const QCoreApplication application(argumentCount, nullptr);
    require(QDir().mkpath(QFileInfo(settingsFilePath()).path()));
    return 0;
}

/// Any file can be loaded, the options are saved as three lines, and loading these gives the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    writeSettings(Input(data, size).all());
    ApplicationModel model;
    model.load();
    require(model.save());
    require(readSettings() == expectedFile(model));

    writeSettings(expectedFile(model));
    ApplicationModel again;
    again.load();
    require(again.selectedIconSize == model.selectedIconSize);
    require(again.selectedViewMode == model.selectedViewMode);
    require(again.warningLevel == model.warningLevel);
    return 0;
}
