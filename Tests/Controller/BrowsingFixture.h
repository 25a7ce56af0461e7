// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ControllerFixture.h"

/// The numbers of the marks that mean "different".
inline QList<int> differences(const Marks &marks)
{
    QList<int> numbers;
    for (std::size_t bit = 0; bit < marks.size(); ++bit) {
        if (!marks.test(bit))
            numbers.append(static_cast<int>(bit));
    }
    return numbers;
}

/// Two connected servers, with equal libraries or with these; nothing is on the network.
class BrowsingFixture : public WindowFixture
{
public:
    BrowsingFixture()
    {
        connectServer(one);
        connectServer(two);
    }
    BrowsingFixture(const QList<MediaFolder> &foldersA, const QList<MediaFolder> &foldersB)
    {
        one.folders = foldersA;
        connectServer(one);
        two.folders = foldersB;
        two.hash = foldersA.size() == foldersB.size() ? one.hash : hashOf(2);
        connectServer(two);
    }

    Server one = sampleServer(QStringLiteral("One"), loopback(51));
    Server two = sampleServer(QStringLiteral("Two"), loopback(52));
};
