// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Marks.h"
#include "Model/MediaFolder.h"
#include "Model/ServerDeck.h"
#include "Model/VisualRef.h"

#include <QFont>
#include <QHash>
#include <QHostAddress>
#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QSize>
#include <QUuid>
#include <QWidget>

#include <array>
#include <memory>
#include <optional>

class QListWidgetItem;
class QNetworkAccessManager;
struct Server;
class ServerBankController;
class UIController;

namespace Ui {
class BVServerBank;
}

/// One of the two banks of the main window: a combo box of servers, and the library of the selected
/// server at two levels.
///
/// At the folders level the list has 256 rows: row r is folder slot r. At the slots level, inside
/// one folder, it has 257: "Back", "000: NO VISUAL", and row r for slot r - 1. A row stores no
/// data; only its position has a meaning.
///
/// The bank owns no library data. It has the uuids of servers in its combo box and reads their
/// records through UIController, which also controls it. Actions of the operator are reported by
/// its ServerBankController. Changes by calls from outside are not reported as actions of the
/// operator.
class BVServerBank final : public QWidget
{
    Q_OBJECT

public:
    explicit BVServerBank(QWidget *parent = nullptr);
    ~BVServerBank() override;

    /// Creates the ServerBankController and all connections of the bank. Call once, before
    /// everything else. Neither pointer is owned. Both banks share the network manager.
    void setupBank(UIController *uiController, QNetworkAccessManager *network, ServerDeck deck);
    /// Stores the deck. Deck B mirrors the bottom row, so that its buttons are at the right edge of
    /// the window.
    void setServerDeck(ServerDeck deck);

    /// Offers these servers in this order and selects none of them; the caller selects one
    /// afterwards. All marks become "the same". An empty list disables the whole bank, any other
    /// list enables it.
    void setServers(const QList<QUuid> &uuids);
    /// Selects this server without reporting it. A server that is not offered changes nothing.
    void selectServer(const QUuid &uuid);
    /// Null if no server is selected.
    [[nodiscard]] QUuid currentServerUuid() const;
    /// The record of the selected server, or the invalid server. Valid until the next change of
    /// the model.
    [[nodiscard]] const Server &currentServer() const;

    /// Shows the folders level.
    void showFolders();
    /// Goes to the slots level of a folder, with a red header if `red`. The bank is disabled until
    /// the thumbnails are loaded. Without a server the list does not change.
    void showFolder(int folderSlot, bool red);
    /// Same without drawing: the next change of content draws the folder.
    void enterFolder(int folderSlot, bool red);

    /// 0 small (32 x 24), 1 medium (64 x 48), anything else large (128 x 96).
    void setIconSizeIndex(int index);
    /// List view or icon view.
    void setListMode(bool listMode);
    /// Shows the state of the connection and two rates in frames per second: the first next to the
    /// word CPU, the second next to GPU.
    void setConnectionStatus(bool connected, float first, float second);
    /// Computes the size and font of the rows from icon size and view, and sets them on every row.
    void updateItemSizes();
    /// Sets the present size and font on one row.
    void applyItemLook(QListWidgetItem *item) const;

    /// The numbers of the selected rows, in the order of the list's selection model.
    [[nodiscard]] QList<int> selectedRows() const;
    [[nodiscard]] int selectedRowCount() const;
    /// The selected rows if this folder is shown (-1: the folders level), otherwise none.
    [[nodiscard]] QList<int> selectedRowsIn(int folder) const;
    /// The slots of the selection: at the folders level all 255 slots of each selected folder, at
    /// the slots level the selected slots. With `onlyExisting` only slots with a visual.
    ///
    /// The first number of a pair is the folder's slot at the folders level, and the folder's
    /// position in the library (-1 for none) at the slots level.
    [[nodiscard]] QList<VisualRef> selectedVisuals(bool onlyExisting) const;
    /// Same for these rows, selected or not.
    [[nodiscard]] QList<VisualRef> visualsOfRows(const QList<int> &rows, bool onlyExisting) const;
    /// Every slot of the shown level, with a visual or not: 256 x 255 at the folders level; at the
    /// slots level slots 1 to 254, with the folder's position as in selectedVisuals.
    [[nodiscard]] QList<VisualRef> allVisuals() const;
    /// Selects exactly these rows without reporting it. Rows past the end are ignored.
    void selectRows(const QList<int> &rows);

    /// The widget that gets the keyboard focus: the list.
    [[nodiscard]] QWidget *keyboardStart() const;
    /// The list's vertical slider position, in the units of the scroll bar.
    [[nodiscard]] int scrollPosition() const;
    /// Moves the list's vertical slider. A change of the position is reported.
    void setScrollPosition(int position);
    /// The first row that is visible, at least in part; -1 without rows.
    [[nodiscard]] int firstVisibleRow() const;
    /// Scrolls this row to the top.
    void scrollToTop(int row);
    /// Whether rows can be dragged and dropped in this list.
    void setDragDropEnabled(bool enabled);

    /// The mark that is drawn on this row: true means "the same on both servers". None on the two
    /// rows before the slots, past the end, and unless both banks show a server.
    [[nodiscard]] std::optional<bool> rowMark(int row) const;

    /// Enables the remove and the upload button if a server is selected, otherwise disables them.
    void updateActionButtons();
    /// Enables the upload button if exactly one slot, empty or not, is selected.
    void updateUploadButton();

    /// The marks of the present level. Written by UIController; drawn when the rows are rebuilt.
    Marks sameMarks;
    /// The slot number of the shown folder; -1 at the folders level.
    int currentFolder = -1;

signals:
    /// The thumbnails of a folder are needed. folderChanged receives them.
    void changeFolder(const MediaFolder &folder, int mediaFolderIndex,
                      const QHostAddress &serverIp);
    /// The operator selected another server; null if none is selected any more.
    void serverSelectionChanged(const QUuid &serverUuid);
    /// The operator wants to upload a file. Folder and slot are those of selectedVisuals.
    void uploadFile(const QUuid &uuid, int folderIndex, int visualIndex);

public slots:
    /// Requests an upload to the selected slot.
    void addFile();
    /// Fills the slots level and enables the bank. Does nothing if the bank has left the folder or
    /// the server of the last changeFolder. The index is that of changeFolder. `pixmaps` has one
    /// picture for each slot number.
    void folderChanged(int mediaFolderIndex, const QList<QPixmap> &pixmaps);
    void serverIndexChanged(int index);
    /// Redraws the shown level if this server is the selected one. Two null uuids count as equal;
    /// then the bank goes to the folders level. The selected rows stay selected, without a report,
    /// if server and folder are those of the last redraw.
    void serverContentChanged(const QUuid &serverId);

private:
    void connectBank(UIController *uiController);
    void connectKeys();
    void describeControls();
    void mirrorBottomRow();
    void fillServerList(const QList<QUuid> &uuids);

    /// Does the same as a double click on this row. Does nothing if there is no such row.
    void openRow(int row);
    /// The current row after the slots are drawn: the first row of a folder that was just opened,
    /// otherwise the present one.
    [[nodiscard]] int rowAfterRebuild() const;
    /// Makes this row the current one for the keyboard, without selecting or scrolling to it.
    void placeCurrentRow(int row);

    /// A folder of a server, or its folders level for folder -1.
    struct Place
    {
        QUuid server;
        int folder = -1;
        bool operator==(const Place &) const = default;
    };
    /// The server is null if none is selected or the selected one was lost.
    [[nodiscard]] Place currentPlace() const;
    /// Clears the selection and reports that, unless it was made at the current place. A bank that
    /// gets its first server, or its previous one again, does not clear the selection of the other
    /// bank.
    void dropSelectionOfFormerPlace();

    /// Call when the list is empty.
    void resetScrollPosition();
    /// Returns the rows to select when they are rebuilt. Nothing is reported.
    QList<int> clearRows();
    void rebuildFolderList();
    void rebuildSlotList(const MediaFolder &folder, const QList<QPixmap> &pixmaps);
    void refreshFolder();
    void showPath(const QString &folderName);
    void addHeaderItems();
    void addEmptySlotItem(int slot);
    void addItem(const QIcon &icon, const QString &text, int type);
    /// The icon of a row without a picture of its own. All such rows of a level with the same mark
    /// share one icon.
    [[nodiscard]] const QIcon &sharedIcon(int number, const QString &keyWord,
                                          const QPixmap &pixmap);
    [[nodiscard]] QPixmap markedPixmap(int number, const QString &keyWord, QPixmap pixmap) const;

    std::unique_ptr<Ui::BVServerBank> ui;
    QIcon backIcon;
    QPixmap noVisualPixmap;
    QPixmap backgroundPixmap;
    QPixmap folderPixmap;
    QPixmap noMarkPixmap;
    QPixmap yesMarkPixmap;
    QSize iconSize;
    QSize itemSizeHint;
    QFont itemFont;
    ServerDeck serverDeck = ServerDeckA;
    std::unique_ptr<ServerBankController> controller;
    bool folderNameDiffers = false;
    std::array<QIcon, 2> sharedIcons; ///< by mark
    QHash<qint64, QIcon> rowIcons;    ///< of the visuals' rows, by QPixmap::cacheKey
    // Marks of the rows as drawn; `sameMarks` may already be newer.
    Marks shownMarks;
    bool foldersDrawn = true;
    // The place of the last redraw with a server. Its rows are drawn when the thumbnails are
    // loaded.
    Place shownPlace;
    bool thumbnailsAwaited = false;
};
