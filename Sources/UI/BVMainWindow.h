// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QMainWindow>

#include <memory>

class ApplicationModel;
class UIController;

namespace Ui {
class BVMainWindow;
}

/// The top-level window: view buttons and logo at the top, the two server banks side by side, and
/// between them the transfer buttons with the sign that the servers differ.
///
/// It owns the UIController, which controls everything that the window shows, and has the style
/// sheet that its dialogs inherit. It closes without a question, even during an operation.
class BVMainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    /// The model is not owned and outlives the window. Creates the UIController, which opens the
    /// discovery socket.
    explicit BVMainWindow(ApplicationModel *applicationModel);
    ~BVMainWindow() override;

    /// Shows or hides the sign that the two servers differ.
    void setSyncWarning(bool visible);
    /// Enables or disables both transfer buttons.
    void setTransferEnabled(bool enabled);
    /// Names the servers of the two banks in the tool tips of the transfer buttons. A bank without
    /// a server has an empty name. Two equal names are not used: they do not show which server
    /// changes.
    void setTransferNames(const QString &serverA, const QString &serverB);
    /// Checks the buttons of the view and of the icon size: 0 small, 1 medium, anything else large.
    void checkViewButtons(bool listView, int iconSizeIndex);
    /// Runs the preferences dialog. If it is accepted, stores its warnings in the model and saves
    /// the settings. A cancelled dialog changes nothing.
    void openPreferences();

private:
    void connectButtons();
    void connectKeys();

    std::unique_ptr<Ui::BVMainWindow> ui;
    ApplicationModel *model;
    std::unique_ptr<UIController> uiController;
};
