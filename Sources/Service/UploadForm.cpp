// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/UploadForm.h"

#include "Service/Protocol.h"
#include "Service/UploadFile.h"

#include <QFileInfo>
#include <QHttpMultiPart>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QHttpPart field(const QByteArray &name, const QString &value)
{
    QHttpPart part;
    part.setRawHeader("Content-Disposition", "form-data; name=\"" + name + '"');
    part.setBody(value.toUtf8());
    return part;
}

QByteArray quotedFileName(const QString &path)
{
    QByteArray name = QFileInfo(path).fileName().toUtf8();
    name.replace('"', "%22").replace('\r', "%0D").replace('\n', "%0A");
    return '"' + name + '"';
}

QHttpPart filePart(UploadFile *file, const QString &path)
{
    QHttpPart part;
    part.setRawHeader("Content-Type", "application/octet-stream");
    part.setRawHeader("Content-Disposition",
                      "form-data; name=\"visualFile\"; filename=" + quotedFileName(path));
    part.setBodyDevice(file);
    return part;
}

} // namespace

namespace UploadForm {

QHttpMultiPart *create(int folderSlot, int fileSlot, const QString &path)
{
    auto file = std::make_unique<UploadFile>(path);
    if (!file->isOpen())
        return nullptr;
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    file->setParent(form.get());
    form->append(field("folderIdx"_ba, QString::number(folderSlot)));
    form->append(field("visualIdx"_ba, QString::number(fileSlot)));
    form->append(field("ver"_ba, Protocol::versionText()));
    form->append(filePart(file.release(), path));
    return form.release();
}

} // namespace UploadForm
