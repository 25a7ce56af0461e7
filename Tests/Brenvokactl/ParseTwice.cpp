// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// Parses two JSON files and prints the processor time of that in seconds: the baseline of
// test_performance.py.

#include <QFile>
#include <QJsonDocument>

#include <cstdio>
#include <ctime>

int main(int argc, char *argv[])
{
    std::clock_t used = 0;
    for (int index = 1; index < argc; ++index) {
        QFile file(QString::fromLocal8Bit(argv[index]));
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        const QByteArray text = file.readAll();
        const std::clock_t begin = std::clock();
        const QJsonDocument document = QJsonDocument::fromJson(text);
        used += std::clock() - begin;
        if (!document.isObject())
            return 1;
    }
    std::printf("%f\n", static_cast<double>(used) / CLOCKS_PER_SEC);
    return 0;
}
