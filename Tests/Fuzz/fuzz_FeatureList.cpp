// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Protocol/FeatureList.h"
#include "Require.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t longest = 4096;

std::optional<std::bitset<1>> read(const QByteArray &text)
{
    try {
        return featureListFromText(text);
    } catch (const std::invalid_argument &) {
        return std::nullopt;
    }
}

/// A bitset checks only as many characters as it has bits, so a long one checks all of them.
std::optional<std::bitset<1>> expected(const std::string &text)
{
    try {
        const std::bitset<longest> whole(text);
        return std::bitset<1>(text);
    } catch (const std::invalid_argument &) {
        return std::nullopt;
    }
}

} // namespace

/// A feature list is accepted, refused and read like a std::bitset.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray text = Input(data, std::min(size, longest)).all();
    require(read(text) == expected(text.toStdString()));
    return 0;
}
