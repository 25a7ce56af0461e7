// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/CommandResult.h"
#include "MediaServer/Library.h"
#include "MediaServer/TransferTable.h"

#include <map>
#include <string>

/// The fields of a form, as the request carried them.
using FormFields = std::multimap<std::string, std::string>;

/// Reads slots out of forms and refuses those that cannot be used. A field that is missing or is
/// no number is an `OtherFailure`, a number that names nothing usable is `Reserved`.
struct SlotReader
{
    CommandResult result;

    [[nodiscard]] int number(const FormFields &fields, const char *name);
    [[nodiscard]] int folder(const FormFields &fields);
    [[nodiscard]] SlotId slot(const FormFields &fields, const char *visualField = "visualIdx");
    [[nodiscard]] bool ok() const { return result.code == ResultCode::Done; }
};

/// The five commands. Stateless but for what it works on, so any thread may call it.
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
