// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/LibraryCheck.h"

/// Collects findings of one level. A broken document may have millions of them: the first thousand
/// are kept, and one finding has the number of the others.
class Findings final
{
public:
    static constexpr qsizetype most = 1000;

    explicit Findings(Finding::Level findingLevel)
        : level(findingLevel)
    {
    }

    void add(const QString &subject, const QString &text, int folder = -1, int slot = -1)
    {
        if (list.size() < most)
            list.append({level, subject, text, folder, slot});
        else
            ++more;
    }

    [[nodiscard]] QList<Finding> all() const
    {
        if (more == 0)
            return list;
        return list + QList<Finding>{
                          {level, QStringLiteral("others"), QStringLiteral("%1 more").arg(more)}};
    }

private:
    Finding::Level level;
    QList<Finding> list;
    qsizetype more = 0;
};
