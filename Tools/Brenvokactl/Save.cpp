// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/LibraryCheck.h"
#include "Brenvokactl/LibrarySource.h"
#include "Brenvokactl/Snapshot.h"
#include "Brenvokactl/Terminal.h"

using namespace Qt::Literals::StringLiterals;

Expected<Result> Commands::save(const CommandLine &line)
{
    const QString text = line.arguments.at(0);
    const QString file = line.arguments.at(1);
    const QHostAddress address = ipv4Address(text);
    if (address.isNull())
        return Expected<Result>::failure(text + u": it is no IPv4 address"_s);
    const Terminal::Progress progress(u"Downloading the library of %1"_s.arg(text));
    const LibraryDownload download = LibraryDownload::get(address, line.timeout);
    const Expected<Server> server = LibraryCheck::read(download);
    if (!server)
        return Expected<Result>::failure(text + u": "_s + server.error);
    QDateTime time = QDateTime::currentDateTimeUtc();
    const Snapshot snapshot{text, time, download.version, download.features, download.body};
    if (const QString error = snapshot.write(file); !error.isEmpty())
        return Expected<Result>::failure(file + u": "_s + error);

    const LibrarySource saved{file, text, time, *server};
    Result result;
    result.json = saved.toJson();
    result.summary = {u"Saved "_s + saved.summary()};
    result.columns = {{u"file"_s}, {u"address"_s}, {u"time"_s}};
    if (line.format == Format::Csv)
        result.rows = {{file, text, time.toString(Qt::ISODate)}};
    return result;
}
