// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/UploadForm.h"

#include "Protocol/Urls.h"

#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>

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

QHttpPart filePart(QFile *file)
{
    QHttpPart part;
    part.setRawHeader("Content-Type", "application/octet-stream");
    part.setRawHeader("Content-Disposition", "form-data; name=\"visualFile\"; filename=" +
                                                 quotedFileName(file->fileName()));
    part.setBodyDevice(file);
    return part;
}

} // namespace

namespace UploadForm {

std::unique_ptr<QHttpMultiPart> create(int folderSlot, int fileSlot, std::unique_ptr<QFile> file)
{
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    file->setParent(form.get());
    form->append(field("folderIdx"_ba, QString::number(folderSlot)));
    form->append(field("visualIdx"_ba, QString::number(fileSlot)));
    form->append(field("ver"_ba, Protocol::versionText()));
    form->append(filePart(file.release()));
    return form;
}

} // namespace UploadForm
