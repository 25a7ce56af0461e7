// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/TransferProgress.h"

#include <QJsonObject>
#include <QLatin1StringView>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int progressMessage = 2;

bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// Whether the character may be part of a string as it is.
bool isPlain(char character)
{
    return character >= ' ' && character <= '~' && character != '"' && character != '\\';
}

/// Reads JSON of the usual form. Each function returns false for anything else.
class UsualText final
{
public:
    explicit UsualText(QByteArrayView text)
        : at(text.cbegin())
        , end(text.cend())
    {
    }

    bool isAtEnd()
    {
        skipBlanks();
        return at == end;
    }

    bool readString(QLatin1StringView &value)
    {
        if (!take('"'))
            return false;
        const char *const begin = at;
        at = std::find_if_not(at, end, isPlain);
        value = QLatin1StringView(begin, at);
        return at != end && *at++ == '"';
    }

    bool readNumber(int &value)
    {
        skipBlanks();
        const char *const begin = at;
        for (value = 0; at != end && isDigit(*at) && at - begin < 9; ++at)
            value = 10 * value + (*at - '0');
        return at - begin == 1 || (at != begin && *begin != '0');
    }

    bool skipStringOrNumber()
    {
        QLatin1StringView text;
        int number = 0;
        return isNext('"') ? readString(text) : readNumber(number);
    }

    /// `readMember` gets each key, and must read its value.
    template <typename ReadMember>
    bool readObject(ReadMember readMember)
    {
        if (!take('{'))
            return false;
        do {
            QLatin1StringView key;
            if (!readString(key) || !take(':') || !readMember(key))
                return false;
        } while (take(','));
        return take('}');
    }

private:
    void skipBlanks() { at = std::find_if_not(at, end, isBlank); }
    bool isNext(char character)
    {
        skipBlanks();
        return at != end && *at == character;
    }
    bool take(char character)
    {
        if (!isNext(character))
            return false;
        ++at;
        return true;
    }

    const char *at;
    const char *end;
};

bool readSync(UsualText &text, TransferProgress &progress)
{
    progress = {};
    return text.readObject([&](QLatin1StringView key) {
        if (key == "STATUS"_L1)
            return text.readNumber(progress.state);
        if (key == "CPERCENT"_L1)
            return text.readNumber(progress.progressPercent);
        if (key == "SPEEDBPS"_L1)
            return text.readNumber(progress.speedBps);
        if (key != "ID"_L1)
            return text.skipStringOrNumber();
        QLatin1StringView id;
        const bool isString = text.readString(id);
        progress.id = QUuid::fromString(id);
        return isString;
    });
}

} // namespace

TransferProgress TransferProgress::fromJson(const QJsonObject &sync)
{
    return {QUuid(sync["ID"_L1].toString()), sync["STATUS"_L1].toInt(0),
            sync["CPERCENT"_L1].toInt(0), sync["SPEEDBPS"_L1].toInt(0)};
}

std::optional<TransferProgress> TransferProgress::fromUsualText(QByteArrayView text)
{
    UsualText message(text);
    TransferProgress progress;
    int type = 0;
    const bool isUsual = message.readObject([&](QLatin1StringView key) {
        if (key == "msg_type"_L1)
            return message.readNumber(type) && type == progressMessage;
        return key == "sync"_L1 && readSync(message, progress);
    });
    if (!isUsual || !message.isAtEnd() || type != progressMessage)
        return std::nullopt;
    return progress;
}
