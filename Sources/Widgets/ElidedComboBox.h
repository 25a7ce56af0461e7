// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QComboBox>

/// A combo box whose text is elided where it does not fit, and is then shown in its tool tip. Its
/// items are one line each. Its list opens as wide as its longest entry, up to 700 pixels.
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
