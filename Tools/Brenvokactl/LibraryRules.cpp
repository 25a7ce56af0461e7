// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryRules.h"

#include "Brenvokactl/Findings.h"
#include "Model/JsonSlot.h"
#include "Model/Slots.h"
#include "Protocol/JsonBody.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Collects what is wrong with one object.
class Place final
{
public:
    Place(Findings &list, QString description, int folderSlot = -1, int visualSlot = -1)
        : findings(list)
        , name(std::move(description))
        , folder(folderSlot)
        , slot(visualSlot)
    {
    }

    void require(bool isFulfilled, const QString &rule)
    {
        if (!isFulfilled)
            findings.add(u"document"_s, name + u": "_s + rule, folder, slot);
    }

private:
    Findings &findings;
    QString name;
    int folder;
    int slot;
};

int slotOrNone(const QJsonObject &object, int highest)
{
    return slotFromJson(object["slot"_L1], highest).value_or(-1);
}

void checkVisual(Findings &findings, const QJsonValue &value, int folder, const QString &place)
{
    const QJsonObject visual = value.toObject();
    const int slot = slotOrNone(visual, Slots::last);
    Place check(findings, place, folder, slot);
    if (!value.isObject())
        return check.require(false, u"it must be an object"_s);
    check.require(slot >= 0, u"\"slot\" must be a whole number from 0 to 255"_s);
    check.require(visual["name"_L1].isString(), u"\"name\" must be a text"_s);
    check.require(visual["hash"_L1].toString().size() == Visual::hashLength,
                  u"\"hash\" must be a text of 32 characters"_s);
}

void checkFolder(Findings &findings, const QJsonValue &value, const QString &place)
{
    const QJsonObject folder = value.toObject();
    const int slot = slotOrNone(folder, Slots::lastFolder);
    Place check(findings, place, slot);
    if (!value.isObject())
        return check.require(false, u"it must be an object"_s);
    check.require(slot >= 0, u"\"slot\" must be a whole number from 0 to 256"_s);
    check.require(folder["name"_L1].isString(), u"\"name\" must be a text"_s);
    check.require(folder["files"_L1].isArray(), u"\"files\" must be an array"_s);
    const QJsonArray files = folder["files"_L1].toArray();
    if (files.size() > Slots::count)
        return check.require(false, u"\"files\" must have at most 256 entries"_s);
    for (qsizetype index = 0; index < files.size(); ++index)
        checkVisual(findings, files.at(index), slot,
                    u"%1, files[%2]"_s.arg(place, QString::number(index)));
}

QList<Finding> broken(const QJsonObject &document)
{
    Findings findings(Finding::Refused);
    Place check(findings, u"the document"_s);
    check.require(document["hash"_L1].isString(), u"\"hash\" must be a text"_s);
    check.require(document["folders"_L1].isArray(), u"\"folders\" must be an array"_s);
    const QJsonArray folders = document["folders"_L1].toArray();
    for (qsizetype index = 0; index < folders.size(); ++index)
        checkFolder(findings, folders.at(index), u"folders[%1]"_s.arg(index));
    return findings.all();
}

QString parserMessage(const QByteArray &body)
{
    QJsonParseError error;
    const qsizetype end = body.indexOf('\0');
    const QByteArray text = body.first(end < 0 ? body.size() : end);
    if (QJsonDocument::fromJson(text, &error).isObject())
        return {};
    return error.error == QJsonParseError::NoError
               ? u"the body is no object"_s
               : u"%1 at byte %2"_s.arg(error.errorString(), QString::number(error.offset));
}

} // namespace

QList<Finding> LibraryRules::findings(const QByteArray &body)
{
    const QJsonObject document = jsonObjectFromBody(body);
    if (const QString message = parserMessage(body); document.isEmpty() && !message.isEmpty())
        return {{Finding::Refused, u"JSON"_s, message}};
    const Finding json{Finding::Passed, u"JSON"_s, u"%1 bytes"_s.arg(body.size())};
    const QList<Finding> refusals = broken(document);
    if (!refusals.isEmpty())
        return QList{json} + refusals;
    return {json, {Finding::Passed, u"document"_s, u"follows all rules"_s}};
}
