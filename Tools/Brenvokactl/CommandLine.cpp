// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/CommandLine.h"

#include "Brenvokactl/CommandList.h"
#include "Model/Slots.h"

#include <QCommandLineParser>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<int> numberIn(const QString &text, int lowest, int highest)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < lowest || number > highest)
        return std::nullopt;
    return number;
}

/// Reads the values of a parser into a command line; the first error stays.
class Reader final
{
public:
    Reader(const QCommandLineParser &source, CommandLine &target)
        : parser(source)
        , line(target)
    {
    }

    void readSeconds(const QString &option, std::chrono::seconds &seconds)
    {
        if (!isSet(option))
            return;
        const QString text = parser.value(option);
        if (const std::optional<int> number = numberIn(text, 1, 3600))
            seconds = std::chrono::seconds(*number);
        else
            fail(u"--%1 needs a number of seconds from 1 to 3600, not \"%2\""_s.arg(option, text));
    }

    void readFormat()
    {
        const QStringList names{u"text"_s, u"csv"_s, u"json"_s};
        const QString text = isSet(u"format"_s) ? parser.value(u"format"_s) : names.first();
        const qsizetype index = names.indexOf(text);
        if (index < 0)
            fail(u"--format needs text, csv or json, not \"%1\""_s.arg(text));
        else
            line.format = static_cast<Format>(index);
    }

    void readSelection()
    {
        for (const QString &text : values(u"folder"_s)) {
            if (const std::optional<int> folder = numberIn(text, 0, Slots::last))
                line.folders.append(*folder);
            else
                fail(u"--folder needs a number from 0 to 255, not \"%1\""_s.arg(text));
        }
        for (const QString &text : values(u"slot"_s)) {
            const QStringList parts = text.split(u'/');
            const std::optional<int> folder = numberIn(parts.first(), 0, Slots::last);
            const std::optional<int> slot = numberIn(parts.last(), 1, Slots::last);
            if (parts.size() == 2 && folder && slot)
                line.visuals.append({*folder, *slot});
            else
                fail(u"--slot needs a folder from 0 to 255 and a slot from 1 to 255, such as "
                     "3/17, not \"%1\""_s.arg(text));
        }
    }

    [[nodiscard]] bool isSet(const QString &option) const
    {
        return parser.optionNames().contains(option);
    }
    void fail(const QString &reason)
    {
        if (line.error.isEmpty())
            line.error = reason;
    }

private:
    [[nodiscard]] QStringList values(const QString &option) const
    {
        return isSet(option) ? parser.values(option) : QStringList();
    }

    const QCommandLineParser &parser;
    CommandLine &line;
};

void readOptions(const QCommandLineParser &parser, CommandLine &line)
{
    Reader reader(parser, line);
    reader.readFormat();
    reader.readSeconds(u"timeout"_s, line.timeout);
    reader.readSeconds(u"for"_s, line.listenFor);
    reader.readSelection();
    line.share = reader.isSet(u"share"_s);
    line.stream = reader.isSet(u"stream"_s);
}

void readArguments(const Command &command, const QStringList &given, CommandLine &line)
{
    line.arguments = given.mid(1);
    if (line.arguments.size() == command.arguments.size())
        return;
    QStringList names;
    for (const Command::Argument &argument : command.arguments)
        names.append(argument.name);
    line.error = names.isEmpty() ? u"%1 needs no arguments"_s.arg(command.name)
                                 : u"%1 needs exactly these arguments: %2"_s.arg(command.name,
                                                                                 names.join(u' '));
}

CommandLine readCommand(const Command &command, const QStringList &words)
{
    CommandLine line;
    line.command = command.name;
    QCommandLineParser parser;
    describe(command, parser);
    if (!parser.parse(words)) {
        line.error = parser.errorText();
    } else if (parser.isSet(u"help"_s)) {
        line.help = parser.helpText();
    } else {
        readArguments(command, parser.positionalArguments(), line);
        readOptions(parser, line);
    }
    return line;
}

} // namespace

CommandLine CommandLine::parse(const QStringList &words)
{
    CommandLine line;
    // Qt replaces other bytes, so the name of a file would become that of another one.
    if (words.mid(1).join(u' ').contains(QChar::ReplacementCharacter)) {
        line.error = u"an argument is not valid UTF-8"_s;
        return line;
    }
    const QString first = words.value(1);
    for (const Command &command : commands()) {
        if (command.name == first)
            return readCommand(command, words);
    }
    if (first == "--help"_L1 || first == "-h"_L1)
        line.help = overview();
    else if (first == "--version"_L1 || first == "-v"_L1)
        line.help = versionLine();
    else if (first.isEmpty())
        line.error = u"no command is given; brenvokactl --help lists them"_s;
    else
        line.error = u"there is no command \"%1\"; brenvokactl --help lists them"_s.arg(first);
    return line;
}
