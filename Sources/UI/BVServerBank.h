// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Marks.h"
#include "Model/MediaFolder.h"
#include "Model/ServerDeck.h"
#include "Model/VisualRef.h"

#include <QFont>
#include <QHostAddress>
#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QSize>
#include <QUuid>
#include <QWidget>

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

/// One of the two panels of the main window: a server to choose, and its library on two levels.
///
/// At the folders level the list has 256 rows, row r for folder slot r. At the slots level, inside
/// one folder, it has 257: "Back", "000: NO VISUAL", and row r for slot r - 1. A row carries no
/// data; its position is its meaning.
///
/// The panel owns no library data: it holds the uuids of servers in its combo box and reads their
/// records through UIController, which also drives it. What the operator does leaves it through its
/// ServerBankController. What is changed by calls from outside is never reported back as if the
/// operator had done it.
class BVServerBank final : public QWidget
{
    Q_OBJECT

public:
    explicit BVServerBank(QWidget *parent = nullptr);
    ~BVServerBank() override;

    /// Makes the ServerBankController and every connection of the panel. To be called once; before
    /// it no server is known here. Neither pointer is owned; the network manager is the one that
    /// both banks share.
    void setupBank(UIController *uiController, QNetworkAccessManager *network, ServerDeck deck);
    /// Stores the deck. For deck B the bottom row is mirrored, so that its buttons stand at the
    /// right edge of the window.
    void setServerDeck(ServerDeck deck);

    /// Offers these servers, in this order, with none of them selected: the caller selects
    /// afterwards. All marks become "the same". An empty list disables the whole panel, any other
    /// enables it.
    void setServers(const QList<QUuid> &uuids);
    /// Selects that server without reporting it; a server that is not offered changes nothing.
    void selectServer(const QUuid &uuid);
    /// Null when no server is selected.
    [[nodiscard]] QUuid currentServerUuid() const;
    /// The record of the selected server, or the invalid server. Valid until the next change of
    /// the model.
    [[nodiscard]] const Server &currentServer() const;

    /// Goes to the folders level and draws it.
    void showFolders();
    /// Goes to the slots level of a folder, with its header in red when `red`. The panel is
    /// disabled until the thumbnails are there. Without a server the list stays as it is.
    void showFolder(int folderSlot, bool red);
    /// The same without drawing: the next change of content draws that folder.
    void enterFolder(int folderSlot, bool red);

    /// 0 small (32 x 24), 1 medium (64 x 48), anything else large (128 x 96).
    void setIconSizeIndex(int index);
    /// List view or icon view.
    void setListMode(bool listMode);
    /// Shows the state of the connection and two rates in frames per second: the first stands
    /// beside the word CPU, the second beside GPU.
    void setConnectionStatus(bool connected, float first, float second);
    /// Reckons the rows' size and font from icon size and view, and gives them to every row.
    void updateItemSizes();
    /// Gives the present size and font to one row.
    void applyItemLook(QListWidgetItem *item) const;

    /// The numbers of the selected rows, in the list's own order of selection.
    [[nodiscard]] QList<int> selectedRows() const;
    [[nodiscard]] int selectedRowCount() const;
    /// The selected rows if that folder is shown (-1: the folders level), else none.
    [[nodiscard]] QList<int> selectedRowsIn(int folder) const;
    /// The slots that the selection stands for: at the folders level all 255 slots of each selected
    /// folder, at the slots level the selected slots. With `onlyExisting` those without a visual
    /// are left out.
    ///
    /// The first number of a pair is the folder's slot at the folders level, and the folder's
    /// position in the library (-1 for none) at the slots level.
    [[nodiscard]] QList<VisualRef> selectedVisuals(bool onlyExisting) const;
    /// The same for these rows, selected or not.
    [[nodiscard]] QList<VisualRef> visualsOfRows(const QList<int> &rows, bool onlyExisting) const;
    /// Every slot of the level on show, whether it holds a visual or not: 256 x 255 at the folders
    /// level; at the slots level slots 1 to 254, with the folder's position as in selectedVisuals.
    [[nodiscard]] QList<VisualRef> allVisuals() const;
    /// Selects exactly these rows without reporting it; rows past the end are passed over.
    void selectRows(const QList<int> &rows);

    /// The widget of this bank that the keyboard is most used in: its list.
    [[nodiscard]] QWidget *keyboardStart() const;
    /// The list's vertical slider position, in the units of the scroll bar.
    [[nodiscard]] int scrollPosition() const;
    /// Moves the list's vertical slider. A position that it does not have yet is reported.
    void setScrollPosition(int position);
    /// The first row on show, if only in part; -1 without rows.
    [[nodiscard]] int firstRowOnShow() const;
    /// Scrolls that row to the top.
    void showRowFirst(int row);
    /// Whether rows can be dragged, and dropped in this list.
    void setDragDropEnabled(bool enabled);

    /// The mark that is drawn on that row, true for "the same on both servers". None on the two
    /// rows above the slots and past the end, and none while there are not two servers to compare.
    [[nodiscard]] std::optional<bool> rowMark(int row) const;

    /// Enables the remove and the upload button exactly when a server is selected.
    void updateActionButtons();
    /// Enables the upload button exactly when one slot, empty or not, is selected.
    void updateUploadButton();

    /// What the selected servers of both banks have in common at this level. Written by
    /// UIController; drawn at the next rebuild of the rows.
    Marks sameMarks;
    /// The slot number of the folder on show; -1 at the folders level.
    int currentFolder = -1;

signals:
    /// The thumbnails of a folder are needed; folderChanged takes them.
    void changeFolder(const MediaFolder &folder, int mediaFolderIndex,
                      const QHostAddress &serverIp);
    /// The operator chose another server; null when none is selected any more.
    void serverSelectionChanged(const QUuid &serverUuid);
    /// The operator wants to upload a file: folder and slot as selectedVisuals gives them.
    void uploadFile(const QUuid &uuid, int folderIndex, int visualIndex);

public slots:
    /// Asks for an upload into the one selected slot.
    void addFile();
    /// Fills the slots level and enables the panel; nothing happens if the panel has left the
    /// folder or the server of the last changeFolder. The index is the one that came with it;
    /// `pixmaps` holds one picture for each slot number.
    void folderChanged(int mediaFolderIndex, const QList<QPixmap> &pixmaps);
    void serverIndexChanged(int index);
    /// Redraws the level on show if that server is the selected one; two null uuids count as equal,
    /// and then the panel falls back to the folders level. The selected rows stay selected, without
    /// a report, if server and folder are those of the last redraw.
    void serverContentChanged(const QUuid &serverId);

private:
    void connectBank(UIController *uiController);
    void connectKeys();
    void describeControls();
    void mirrorBottomRow();
    void fillServerList(const QList<QUuid> &uuids);

    [[nodiscard]] const Server &serverRecord(const QUuid &uuid) const;
    /// Position of that folder in the selected server's library, -1 if it has none.
    [[nodiscard]] int folderPosition(int folderSlot) const;
    [[nodiscard]] QList<VisualRef> visualsOfFolder(int folderSlot, int position,
                                                   bool onlyExisting) const;

    /// As a double click on that row does; nothing if there is no such row.
    void openRow(int row);
    /// The row to be current once the slots are drawn: the top of a folder just entered, else the
    /// present one.
    [[nodiscard]] int rowAfterRebuild() const;
    /// Makes a row the one that the keyboard starts from. It is neither selected nor scrolled to.
    void placeCurrentRow(int row);

    /// The folder of a server, or with folder -1 its folders level.
    struct Place
    {
        QUuid server;
        int folder = -1;
        bool operator==(const Place &) const = default;
    };
    /// With a null server if none is selected, or if the selected one is gone.
    [[nodiscard]] Place currentPlace() const;
    /// Clears the selection, and reports it, unless it was made at the current place. A bank that
    /// gets its first server, or its former one again, leaves the other bank its selection.
    void dropSelectionOfFormerPlace();

    /// To be called once the list is empty.
    void forgetScrollPosition();
    /// Returns the rows to select once they are rebuilt. Nothing is reported.
    QList<int> clearRows();
    void rebuildFolderList();
    void rebuildSlotList(const MediaFolder &folder, const QList<QPixmap> &pixmaps);
    void refreshFolder();
    void showPath(const QString &folderName);
    void addHeaderItems();
    void addEmptySlotItem(int slot);
    void addItem(const QIcon &icon, const QString &text, int type);
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
    // Those of the rows on show, which the next ones may already be different from.
    Marks drawnMarks;
    bool foldersDrawn = true;
    // Of the last redraw with a server. The rows follow it only once the thumbnails are there.
    Place shownPlace;
    bool thumbnailsAwaited = false;
};
