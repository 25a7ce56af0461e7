// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

class QWidget;

/// Gives the file dialogs of a window the window's look down to the list of completions under
/// their name box. Qt makes that list a window without a parent, which no style sheet reaches.
class CompletionsLook final : public QObject
{
    Q_OBJECT

public:
    /// The window becomes the parent.
    explicit CompletionsLook(QWidget *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
