// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

//   pure-parts PART
//
// Runs one part of the program that uses no sockets and no widgets, inside the function `measured`.
// test_instruction_counts.py counts its instructions.

#include "Model/Server.h"
#include "Protocol/CommandBodies.h"
#include "Protocol/JsonBody.h"
#include "Protocol/StreamFraming.h"
#include "Support/Libraries.h"
#include "Text/ShownText.h"

#include <functional>
#include <map>
#include <string>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int folderCount = 16;
using Work = std::function<void()>;

Server libraryOf(const QString &content)
{
    Server server = fullServer(content);
    server.folders = server.folders.first(folderCount);
    return server;
}

Work library()
{
    return [body = libraryDocument(libraryOf(u"a"_s).folders, u"whole"_s).toJson()] {
        Server server;
        if (!server.fromJson(jsonObjectFromBody(body)))
            qFatal("The library is not read");
    };
}

Work plan()
{
    return [one = libraryOf(u"a"_s), other = libraryOf(u"b"_s),
            visuals = allSlots().first(folderCount * 255)] {
        (void)LibraryComparison::planSync(one, other, visuals);
    };
}

Work folderMarks()
{
    return [one = libraryOf(u"a"_s), other = libraryOf(u"a"_s)] {
        (void)LibraryComparison::folderSameMarks(one, other);
    };
}

Work slotMarks()
{
    return [one = libraryOf(u"a"_s), other = libraryOf(u"a"_s)] {
        (void)LibraryComparison::visualSameMarks(one, other, folderCount - 1);
    };
}

Work framing()
{
    const QByteArray message = R"({"msg_type":5,"GFPS":59.5,"TFPS":60,"MFPS":60})"_ba + '\0';
    return [stream = message.repeated(2000)] {
        QByteArray buffer;
        for (qsizetype at = 0; at < stream.size(); at += 1000) {
            StreamFraming::Chunk chunk{stream.mid(at, 1000)};
            while (StreamFraming::takeMessage(buffer, chunk)) {
            }
        }
    };
}

Work commandBodies()
{
    return [visuals = allSlots().first(2000)] {
        for (const VisualRef &visual : visuals)
            (void)CommandBodies::sync(u"http://127.0.0.2:4567"_s, visual);
    };
}

Work names()
{
    return [] {
        for (int i = 0; i < 2000; ++i)
            (void)shownName(i % 10 == 0 ? u"Café by the sea"_s : u"Sunset by the sea"_s);
    };
}

} // namespace

/// Not inline: callgrind counts from its begin to its end.
[[gnu::noinline]] void measured(const Work &work)
{
    work();
}

int main(int argc, char **argv)
{
    const std::map<std::string, Work (*)()> parts{
        {"library", library},      {"plan", plan},       {"folder-marks", folderMarks},
        {"slot-marks", slotMarks}, {"framing", framing}, {"command-bodies", commandBodies},
        {"names", names}};
    const auto part = parts.find(argc == 2 ? argv[1] : "");
    if (part == parts.end()) {
        for (const auto &[name, work] : parts)
            std::puts(name.c_str());
        return argc == 1 ? 0 : 2;
    }
    measured(part->second());
}
