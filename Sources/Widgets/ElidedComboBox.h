// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QComboBox>

/// A combo box that elides its text if it does not fit and then shows it in its tool tip. Items
/// have one line. The list opens as wide as its longest entry, up to 700 pixels.
class ElidedComboBox final : public QComboBox
{
    Q_OBJECT

public:
    explicit ElidedComboBox(QWidget *parent);

    void showPopup() override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QString elided(const QString &line) const;
};
