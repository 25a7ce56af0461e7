// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/ResultWriter.h"
#include "Brenvokactl/Terminal.h"

using namespace Qt::Literals::StringLiterals;

namespace {

Expected<Result> runCommand(const CommandLine &line)
{
    const QList<QPair<QString, Expected<Result> (*)(const CommandLine &)>> functions{
        {u"listen"_s, Commands::listen},   {u"check"_s, Commands::check},
        {u"compare"_s, Commands::compare}, {u"plan"_s, Commands::plan},
        {u"save"_s, Commands::save},       {u"report"_s, Commands::report}};
    for (const auto &[name, function] : functions) {
        if (name == line.command)
            return function(line);
    }
    return Expected<Result>::failure(u"there is no command \"%1\""_s.arg(line.command));
}

int fail(const QString &reason)
{
    Terminal::writeError(reason);
    return ExitCode::error;
}

} // namespace

int Commands::run(const QStringList &words)
{
    const CommandLine line = CommandLine::parse(words);
    if (!line.error.isEmpty())
        return fail(line.error);
    if (!line.help.isEmpty())
        return Terminal::write(line.help.toUtf8()) ? ExitCode::good : ExitCode::error;
    Expected<Result> result = runCommand(line);
    if (!result)
        return fail(result.error);
    const int exitCode = result->exitCode;
    if (!Terminal::write(formatted(std::move(*result.value), line.format, Terminal::hasColors())))
        return fail(u"the output could not be written"_s);
    return exitCode;
}
