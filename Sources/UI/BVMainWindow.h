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

/// The one top-level window: view buttons and logo above, the two server banks side by side, and
/// between them the transfer buttons with the sign that the servers differ.
///
/// It owns the UIController, which does all that the window shows, and it carries the style sheet
/// that every dialog with this window as parent inherits. Closing it asks nothing, whatever
/// operation is in progress.
class BVMainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    /// The model is not owned and outlives the window. Opens the discovery socket, through the
    /// UIController that is made here.
    explicit BVMainWindow(ApplicationModel *applicationModel);
    ~BVMainWindow() override;

    /// Shows or hides the sign that the contents of the two servers differ.
    void setSyncWarning(bool visible);
    /// Enables or disables the two transfer buttons, always together.
    void setTransferEnabled(bool enabled);
    /// Checks the button of the view and that of the icon size: 0 small, 1 medium, else large.
    void checkViewButtons(bool listView, int iconSizeIndex);
    /// Runs the preferences dialog. When it is accepted, its warnings go into the model and the
    /// settings are saved; a cancelled dialog changes nothing.
    void openPreferences();

private:
    void connectButtons();
    void connectKeys();

    std::unique_ptr<Ui::BVMainWindow> ui;
    ApplicationModel *model;
    std::unique_ptr<UIController> uiController;
};
