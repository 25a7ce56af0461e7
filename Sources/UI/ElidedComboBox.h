// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QComboBox>

/// A combo box whose text is elided where it does not fit.
class ElidedComboBox final : public QComboBox
{
    Q_OBJECT

public:
    explicit ElidedComboBox(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
