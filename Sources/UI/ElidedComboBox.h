// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QComboBox>

/// A combo box whose text is elided where it does not fit, and then is its tool tip. Its items
/// are one line each.
class ElidedComboBox final : public QComboBox
{
    Q_OBJECT

public:
    explicit ElidedComboBox(QWidget *parent);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QString elided(const QString &line) const;
};
