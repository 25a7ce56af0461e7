// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/CommandList.h"

#include <QCommandLineParser>

using namespace Qt::Literals::StringLiterals;

namespace {

QCommandLineOption formatOption()
{
    return {u"format"_s, u"The output: text (default), csv or json."_s, u"FORMAT"_s};
}

QCommandLineOption timeoutOption()
{
    return {u"timeout"_s, u"Give up a request after this time. Default: 10."_s, u"SECONDS"_s};
}

QCommandLineOption forOption()
{
    return {u"for"_s, u"How long to listen. Default: 5."_s, u"SECONDS"_s};
}

QCommandLineOption shareOption()
{
    return {u"share"_s,
            u"Listen even if another program has the port. Announcements that are sent to this "
            "machine only do not reach the other program meanwhile."_s};
}

Command listenCommand()
{
    return {u"listen"_s,
            u"Prints every sender that is heard on UDP port 3001, and whether the window would "
            "list it."_s,
            u"0 if a server that the window would list was heard, 1 if none, 2 after an error"_s,
            {},
            {forOption(), shareOption(), formatOption()}};
}

Command checkCommand()
{
    return {u"check"_s,
            u"Downloads the library of a server and checks everything that the window checks."_s,
            u"0 if the library is accepted, 1 if it is refused, 2 if the server is not reachable "
            "or after an error"_s,
            {{u"ADDRESS"_s, u"The IPv4 address of the server."_s}},
            {{u"stream"_s, u"Also open the notification stream for two seconds. A server may "
                           "allow only one."_s},
             timeoutOption(),
             formatOption()}};
}

const QString libraryPurpose = u"An IPv4 address, or a file that \"save\" wrote."_s;

Command compareCommand()
{
    return {u"compare"_s,
            u"Prints what differs between two libraries, by folder and slot."_s,
            u"0 if they are equal, 1 if they differ, 2 after an error"_s,
            {{u"A"_s, libraryPurpose}, {u"B"_s, libraryPurpose}},
            {timeoutOption(), formatOption()}};
}

Command planCommand()
{
    return {u"plan"_s,
            u"Prints what the window would do to make B equal to A, without doing it. Without a "
            "selection this is the whole library."_s,
            u"0 if there is nothing to do, 1 if there is something, 2 after an error"_s,
            {{u"A"_s, libraryPurpose}, {u"B"_s, libraryPurpose}},
            {{u"folder"_s, u"Select this folder, 0 to 255. May be repeated."_s, u"N"_s},
             {u"slot"_s, u"Select this slot, 1 to 255, of a folder. May be repeated."_s, u"N/S"_s},
             timeoutOption(),
             formatOption()}};
}

Command saveCommand()
{
    return {u"save"_s,
            u"Saves the library of a server, but no media, to a file, which \"compare\" and "
            "\"plan\" accept in place of an address. Replaces only an earlier file of this kind."_s,
            u"0 if the file is written, 2 after an error"_s,
            {{u"ADDRESS"_s, u"The IPv4 address of the server."_s},
             {u"FILE"_s, u"The file to write."_s}},
            {timeoutOption(), formatOption()}};
}

Command reportCommand()
{
    return {u"report"_s,
            u"Collects logs, settings, versions, the senders on UDP port 3001 and a check of each "
            "server in a new directory, for somebody who helps."_s,
            u"0 if the report is written, 2 after an error"_s,
            {{u"DIRECTORY"_s, u"The directory to create."_s}},
            {forOption(), shareOption(), timeoutOption(), formatOption()}};
}

} // namespace

const QList<Command> &commands()
{
    static const QList<Command> list{listenCommand(), checkCommand(), compareCommand(),
                                     planCommand(),   saveCommand(),  reportCommand()};
    return list;
}

void describe(const Command &command, QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        u"%1\n\nExit code: %2."_s.arg(command.purpose, command.exitCodes));
    parser.addPositionalArgument(command.name, u"This command."_s, command.name);
    for (const Command::Argument &argument : command.arguments)
        parser.addPositionalArgument(argument.name, argument.purpose, argument.name);
    parser.addOptions(command.options);
    parser.addOption({{u"h"_s, u"help"_s}, u"Print this help."_s});
}

QString overview()
{
    QString text = u"Usage: brenvokactl COMMAND [options] ...\n\n"
                   "Looks at media servers and changes nothing on them.\n\nCommands:\n"_s;
    for (const Command &command : commands()) {
        const QString purpose = command.purpose;
        text += u"  %1 %2\n"_s.arg(command.name.leftJustified(8),
                                   purpose.left(purpose.indexOf(u'.') + 1));
    }
    return text + u"\nbrenvokactl COMMAND --help explains a command. brenvokactl --version prints "
                  "the version.\n"_s;
}

QString versionLine()
{
    return u"brenvokactl %1\n"_s.arg(QStringLiteral(BRENVOKA_VERSION));
}
