// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

class QWidget;

/// Applies the window's style to the list of completions under the name box of its file dialogs. Qt
/// creates that list as a window without a parent, so the window's style sheet does not reach it.
class CompletionsLook final : public QObject
{
    Q_OBJECT

public:
    /// `window` becomes the parent.
    explicit CompletionsLook(QWidget *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
