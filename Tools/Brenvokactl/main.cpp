// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/Terminal.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    // The names of the window program: its settings and logs are in directories of these names.
    QCoreApplication::setOrganizationName(u"Zorvik"_s);
    QCoreApplication::setApplicationName(u"Brenvoka"_s);
    Terminal::silenceQt();
    Terminal::ignoreClosedPipes();
    return Commands::run(QCoreApplication::arguments());
}
