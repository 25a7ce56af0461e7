// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Model/LibraryComparison.h"
#include "Model/Server.h"
#include "Protocol/JsonBody.h"
#include "Require.h"

#include <QJsonArray>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isSlot(const QJsonValue &value, int highest)
{
    const double number = value.toDouble(-1);
    return std::trunc(number) == number && number >= 0 && number <= highest;
}

bool isVisual(const QJsonValue &visual)
{
    return visual.isObject() && visual["hash"_L1].isString() && visual["name"_L1].isString() &&
           isSlot(visual["slot"_L1], 255) && visual["hash"_L1].toString().size() == 32;
}

bool isFolder(const QJsonValue &folder)
{
    const QJsonArray files = folder["files"_L1].toArray();
    return folder.isObject() && folder["files"_L1].isArray() && folder["name"_L1].isString() &&
           isSlot(folder["slot"_L1], 256) && files.size() <= 256 &&
           std::all_of(files.begin(), files.end(), isVisual);
}

bool isLibrary(const QJsonObject &library)
{
    const QJsonArray folders = library["folders"_L1].toArray();
    return library["folders"_L1].isArray() && library["hash"_L1].isString() &&
           std::all_of(folders.begin(), folders.end(), isFolder);
}

void requireFolder(const MediaFolder &folder, const QJsonValue &document)
{
    const QJsonArray files = document["files"_L1].toArray();
    require(folder.name == document["name"_L1].toString());
    require(folder.slot == document["slot"_L1].toInt());
    require(folder.files.size() == files.size());
    require(std::ranges::is_sorted(folder.files, {}, &Visual::hash));
    for (const QJsonValue &file : files) {
        const Visual visual{file["hash"_L1].toString(), file["name"_L1].toString(),
                            file["slot"_L1].toInt()};
        require(folder.files.contains(visual));
        require(folder.containsHash(visual.hash));
        require(folder.files[folder.indexOfSlot(visual.slot)].slot == visual.slot);
    }
    MediaFolder again;
    require(again.fromJson(folder.toJson()));
    require(again.files.size() == folder.files.size());
}

/// A server that already has a library, so that changes can be detected.
Server shownServer()
{
    Server server(QUuid(u"{7d444840-9dc0-11d1-b245-5ffdce74fad2}"_s), QHostAddress(u"127.0.0.2"_s),
                  8, u"Stage left"_s);
    server.hash = u"earlier"_s;
    server.folders.resize(1);
    server.folders[0].name = u"earlier"_s;
    server.folders[0].files.append({u"0123456789abcdef0123456789abcdef"_s, u"earlier"_s, 7});
    return server;
}

void requireUnchanged(const Server &server)
{
    const Server earlier = shownServer();
    require(server.hash == earlier.hash);
    require(server.folders.size() == 1 && server.folders[0].name == earlier.folders[0].name);
    require(server.folders[0].files == earlier.folders[0].files);
}

} // namespace

/// A body is refused and changes nothing, or the server gets exactly the library of the document.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QJsonObject document = jsonObjectFromBody(Input(data, size).all());
    Server server = shownServer();
    const bool accepted = server.fromJson(document);
    require(accepted == isLibrary(document));
    if (!accepted) {
        requireUnchanged(server);
        return 0;
    }
    const QJsonArray folders = document["folders"_L1].toArray();
    require(server.hash == document["hash"_L1].toString());
    require(server.folders.size() == folders.size());
    for (qsizetype index = 0; index < folders.size(); ++index)
        requireFolder(server.folders[index], folders[index]);
    require(LibraryComparison::folderSameMarks(server, server).all());
    return 0;
}
