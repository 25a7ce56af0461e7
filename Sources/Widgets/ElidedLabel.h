// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QLabel>

/// A label on one line that is elided where it does not fit, and then has all of its text as a tool
/// tip. `text()` is what was set; rich text may change the font and its colour within the line.
class ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    struct Piece;
    [[nodiscard]] QList<Piece> pieces() const;
    [[nodiscard]] QRect room() const;
};
