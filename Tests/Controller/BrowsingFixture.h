// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ControllerFixture.h"

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
