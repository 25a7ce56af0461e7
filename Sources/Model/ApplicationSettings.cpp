// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/ApplicationModel.h"

#include <QDir>
#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString iconSizeKey = u"selectedIconSize"_s;
const QString viewModeKey = u"selectedViewMode"_s;
const QString warningLevelKey = u"warningLevel"_s;

} // namespace

QString settingsFilePath()
{
    const QDir directory(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
    return directory.filePath(u"settings.ini"_s);
}

void ApplicationModel::load()
{
    const QSettings settings(settingsFilePath(), QSettings::IniFormat);
    selectedIconSize = settings.value(iconSizeKey, 1).toInt();
    selectedViewMode = settings.value(viewModeKey, false).toBool();
    warningLevel = settings.value(warningLevelKey, Warnings::all).toUInt();
}

bool ApplicationModel::save()
{
    // A run that was killed while it saved may have left a lock without its owner, for which Qt
    // would wait. A lock whose owner is alive is not removed.
    QLockFile(settingsFilePath() + u".lock"_s).removeStaleLockFile();
    QSettings settings(settingsFilePath(), QSettings::IniFormat);
    settings.clear();
    settings.setValue(iconSizeKey, selectedIconSize);
    settings.setValue(viewModeKey, selectedViewMode);
    settings.setValue(warningLevelKey, warningLevel);
    settings.sync();
    return true;
}
