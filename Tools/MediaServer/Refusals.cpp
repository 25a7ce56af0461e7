// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Refusals.h"

Refusals::Refusals(const Codes &resultCodes)
    : codes(resultCodes)
{
}

std::optional<int> Refusals::next(const std::string &kind)
{
    const std::lock_guard lock(mutex);
    const int ofKind = ++counts[kind];
    ++total;
    for (const Selector &selector :
         {Selector(kind, ofKind), Selector(kind, 0), Selector("", total), Selector("", 0)})
        if (const auto found = codes.find(selector); found != codes.end())
            return found->second;
    return {};
}
