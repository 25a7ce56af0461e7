// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/ServerDeck.h"

#include <QList>

class ApplicationModel;
class BVServerBank;
class QUuid;

/// The two banks: finds a bank by its server, and keeps both banks at the same level, with the same
/// marks, selection, scroll position and view.
///
/// The level is the model's `selectedFolder`. A bank without a server goes back to the folders
/// level when it is redrawn.
class BankPair final
{
public:
    /// Owns none of the three.
    BankPair(BVServerBank *firstBank, BVServerBank *secondBank, ApplicationModel *applicationModel);

    [[nodiscard]] BVServerBank *of(ServerDeck deck) const;
    [[nodiscard]] BVServerBank *other(ServerDeck deck) const;
    /// The bank that shows this server, bank A before bank B; null if there is none.
    [[nodiscard]] BVServerBank *showing(const QUuid &uuid) const;
    /// Whether both banks show a server, so that they can be compared.
    [[nodiscard]] bool isComparing() const;
    /// False only if both banks show a server and the two libraries are equal.
    [[nodiscard]] bool isOutOfSync() const;

    /// Computes the marks of the present level. They are drawn at the next redraw.
    void updateSameMarks();
    /// Call after a bank has got or lost its server, before the redraw.
    void bringToOneLevel();
    void openFolder(int slot);
    void openFolders();
    void redraw();

    void scrollOther(ServerDeck deck, int position);
    void selectRowsOfOther(ServerDeck deck);
    /// The selected rows of the other bank if it shows the same level, otherwise none.
    [[nodiscard]] QList<int> selectionOfOther(ServerDeck deck) const;

    // These keep the first visible row.
    void setIconSize(int index);
    void setViewMode(bool listView);

private:
    template <typename Change>
    void changeView(Change change);

    BVServerBank *bankA;
    BVServerBank *bankB;
    ApplicationModel *model;
};
