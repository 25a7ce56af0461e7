// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "SingleInstance.h"

#include <QApplication>

#include <cstdlib>

int main(int argc, char *argv[])
{
    if (!SingleInstance::acquire())
        std::exit(0);

    const QApplication application(argc, argv);
    return EXIT_SUCCESS;
}
