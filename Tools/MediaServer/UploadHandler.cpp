// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/UploadHandler.h"

#include "MediaServer/FileHash.h"
#include "MediaServer/HttpServer.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::size_t smallFieldLimit = 4096;

/// A form that is being received: keeps the small fields and writes the file to disk.
struct IncomingForm
{
    QFile file;
    QCryptographicHash hash{QCryptographicHash::Md5};
    FormFields fields;
    std::string *current = nullptr;
    bool hasFile = false;
    QString error;

    bool beginPart(const httplib::MultipartFormData &part)
    {
        current = nullptr;
        if (part.name != "visualFile") {
            current = &fields.emplace(part.name, std::string())->second;
        } else if (hasFile) {
            error = u"The form has more than one file"_s;
        } else {
            hasFile = true;
            fields.emplace(part.name, part.filename);
            if (!file.open(QIODevice::WriteOnly))
                error = file.errorString();
        }
        return true;
    }

    void append(const char *data, std::size_t size)
    {
        if (current) {
            if (current->size() + size <= smallFieldLimit)
                current->append(data, size);
            else
                error = u"A field of the form is too long"_s;
        } else if (error.isEmpty()) {
            const auto length = static_cast<qint64>(size);
            hash.addData(QByteArrayView(data, length));
            if (file.write(data, length) != length)
                error = file.errorString();
        }
    }

    void end(bool complete)
    {
        fields.emplace("bytes", std::to_string(file.size()));
        if (error.isEmpty() && !complete)
            error = u"The form is incomplete"_s;
        else if (error.isEmpty() && !hasFile)
            error = u"\"visualFile\" is missing"_s;
        else if (error.isEmpty() && !file.flush())
            error = file.errorString();
        file.close();
    }
};

/// Browsers and Brenvoka percent-encode only these three characters of a file name.
QString decodedFileName(const std::string &name)
{
    QString text = QString::fromStdString(name);
    text.replace("%22"_L1, "\""_L1).replace("%0D"_L1, "\r"_L1).replace("%0A"_L1, "\n"_L1);
    return text;
}

} // namespace

UploadHandler::UploadHandler(Library &storage, TransferTable &transferTable, MediaLink &mediaLink,
                             ImportDelay &sharedDelay)
    : library(storage)
    , transfers(transferTable)
    , link(mediaLink)
    , importDelay(sharedDelay)
{
}

CommandResult UploadHandler::receive(const httplib::Request &request,
                                     const httplib::ContentReader &reader, FormFields &fields)
{
    if (!request.is_multipart_form_data()) {
        discardBody(request, reader);
        return CommandResult::failure(u"An upload must be a multipart form"_s);
    }
    const QString path = library.newIncomingPath();
    IncomingForm form;
    form.file.setFileName(path);
    const bool complete =
        reader([&](const httplib::MultipartFormData &part) { return form.beginPart(part); },
               [&](const char *data, std::size_t size) {
                   form.append(data, size);
                   return link.transmit(size);
               });
    if (!complete)
        HttpServer::closeAfterResponse();
    form.end(complete);
    fields = form.fields;
    CommandResult result = form.error.isEmpty() ? store(fields, hashText(form.hash), path)
                                                : CommandResult::failure(form.error);
    QFile::remove(path);
    return result;
}

void UploadHandler::discardBody(const httplib::Request &request,
                                const httplib::ContentReader &reader)
{
    const auto ignore = [](const char *, std::size_t) { return true; };
    if (request.is_multipart_form_data())
        reader([](const httplib::MultipartFormData &) { return true; }, ignore);
    else
        reader(ignore);
}

CommandResult UploadHandler::store(const FormFields &fields, const QString &hash,
                                   const QString &path)
{
    SlotReader reader;
    const SlotId slot = reader.slot(fields);
    if (!reader.ok())
        return reader.result;
    if (transfers.usesSlot(slot))
        return {ResultCode::VisualInUse, {}};
    if (!importDelay.wait())
        return {ResultCode::UnknownFailure, {}};
    const QString name = decodedFileName(fields.find("visualFile")->second);
    return CommandResult::outcome(library.store(slot, {Library::safeFileName(name), hash}, path));
}
