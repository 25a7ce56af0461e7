// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/CommandResult.h"
#include "MediaServer/Library.h"
#include "MediaServer/TransferTable.h"

#include <map>
#include <string>

/// The fields of a form, as they are in the request.
using FormFields = std::multimap<std::string, std::string>;

/// Reads folders and slots from forms and checks them. A field that is missing or not a number
/// gives `OtherFailure`, a number that is out of range gives `Reserved`.
struct SlotReader
{
    CommandResult result;

    [[nodiscard]] int number(const FormFields &fields, const char *name);
    [[nodiscard]] int folder(const FormFields &fields);
    [[nodiscard]] SlotId slot(const FormFields &fields, const char *visualField = "visualIdx");
    [[nodiscard]] bool ok() const { return result.code == ResultCode::Done; }
};

/// The five commands. It has no state of its own, so any thread may call it.
class CommandHandler
{
public:
    CommandHandler(Library &storage, TransferTable &transferTable);

    [[nodiscard]] CommandResult execute(const FormFields &fields);

private:
    CommandResult sync(const FormFields &fields);
    CommandResult remove(const FormFields &fields);
    CommandResult move(const FormFields &fields);
    CommandResult cancel();
    CommandResult rename(const FormFields &fields);

    Library &library;
    TransferTable &transfers;
};
