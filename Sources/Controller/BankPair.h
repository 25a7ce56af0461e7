// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/ServerDeck.h"

#include <QList>

class ApplicationModel;
class BVServerBank;
class QUuid;

/// The two banks together: finds the one that is meant, and keeps both at the same level, with the
/// same marks, selection, scroll position and view.
///
/// The level is the model's `selectedFolder`. A bank without a server is at the folders level
/// whatever the other shows.
class BankPair final
{
public:
    /// Owns none of the three.
    BankPair(BVServerBank *firstBank, BVServerBank *secondBank, ApplicationModel *applicationModel);

    [[nodiscard]] BVServerBank *of(ServerDeck deck) const;
    [[nodiscard]] BVServerBank *beside(ServerDeck deck) const;
    /// The bank that shows this server, bank A before bank B; null if there is none.
    [[nodiscard]] BVServerBank *showing(const QUuid &uuid) const;
    /// Whether both banks show a server, so that there is something to compare.
    [[nodiscard]] bool isComparing() const;
    /// False only if both banks show a server and the two libraries are equal.
    [[nodiscard]] bool isOutOfSync() const;

    /// Computes the marks for the present level. They are drawn at the next redraw.
    void updateSameMarks();
    /// To be called after a bank has got or lost its server, before the redraw.
    void bringToOneLevel();
    void openFolder(int slot);
    void openFolders();
    void redraw();

    void setScrollPositionBeside(ServerDeck deck, int position);
    void selectRowsBeside(ServerDeck deck);
    /// The rows selected in the bank beside that deck's, if it shows the same level, else none.
    [[nodiscard]] QList<int> selectionBeside(ServerDeck deck) const;

    // The first row shown stays the first one.
    void setIconSize(int index);
    void setViewMode(bool listView);

private:
    template <typename Change>
    void changeView(Change change);

    BVServerBank *bankA;
    BVServerBank *bankB;
    ApplicationModel *model;
};
