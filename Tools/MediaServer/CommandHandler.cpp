// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/CommandHandler.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const FormFields &fields, const char *name)
{
    const auto found = fields.find(name);
    return found == fields.end() ? QString() : QString::fromStdString(found->second);
}

} // namespace

int SlotReader::number(const FormFields &fields, const char *name)
{
    bool isNumber = false;
    const int value = text(fields, name).toInt(&isNumber);
    if (isNumber)
        return value;
    if (ok())
        result = CommandResult::failure(
            u"\"%1\" is missing or not a number"_s.arg(QLatin1StringView(name)));
    return -1;
}

int SlotReader::folder(const FormFields &fields)
{
    const int value = number(fields, "folderIdx");
    if (ok() && !isFolder(value))
        result.code = ResultCode::Reserved;
    return value;
}

SlotId SlotReader::slot(const FormFields &fields, const char *visualField)
{
    const SlotId value{folder(fields), number(fields, visualField)};
    if (ok() && !isUsable(value))
        result.code = ResultCode::Reserved;
    return value;
}

CommandHandler::CommandHandler(Library &storage, TransferTable &transferTable)
    : library(storage)
    , transfers(transferTable)
{
}

CommandResult CommandHandler::execute(const FormFields &fields)
{
    SlotReader reader;
    const int type = reader.number(fields, "req_type");
    if (!reader.ok())
        return reader.result;
    switch (type) {
    case 1:
        return sync(fields);
    case 2:
        return remove(fields);
    case 3:
        return move(fields);
    case 4:
        return cancel();
    case 5:
        return rename(fields);
    default:
        return CommandResult::failure(u"There is no command %1"_s.arg(type));
    }
}

CommandResult CommandHandler::sync(const FormFields &fields)
{
    SlotReader reader;
    const SlotId slot = reader.slot(fields);
    if (!reader.ok())
        return reader.result;
    const QString source = text(fields, "serverURL");
    if (source.isEmpty())
        return CommandResult::failure(u"\"serverURL\" is missing"_s);
    if (transfers.add(slot, source) == TransferTable::AddResult::SlotInUse)
        return {ResultCode::VisualInUse, {}};
    return {};
}

CommandResult CommandHandler::remove(const FormFields &fields)
{
    SlotReader reader;
    const SlotId slot = reader.slot(fields);
    if (!reader.ok())
        return reader.result;
    if (transfers.usesSlot(slot))
        return {ResultCode::VisualInUse, {}};
    return CommandResult::outcome(library.remove(slot));
}

CommandResult CommandHandler::move(const FormFields &fields)
{
    SlotReader reader;
    const SlotId from = reader.slot(fields);
    const SlotId to = reader.slot(fields, "visualToIdx");
    if (!reader.ok())
        return reader.result;
    if (transfers.usesSlot(from) || transfers.usesSlot(to))
        return {ResultCode::VisualInUse, {}};
    return CommandResult::outcome(library.move(from.folder, from.visual, to.visual));
}

CommandResult CommandHandler::cancel()
{
    transfers.cancelAll();
    return {};
}

CommandResult CommandHandler::rename(const FormFields &fields)
{
    SlotReader reader;
    const int folder = reader.folder(fields);
    if (!reader.ok())
        return reader.result;
    const QString name = text(fields, "folderName");
    if (name.isEmpty() || name.contains(QChar::Null))
        return CommandResult::failure(u"\"folderName\" is missing or invalid"_s);
    if (transfers.usesFolder(folder))
        return {ResultCode::FolderInUse, {}};
    return CommandResult::outcome(library.rename(folder, name));
}
