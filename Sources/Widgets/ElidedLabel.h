// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QLabel>

/// A label of one line that elides its text if it does not fit and then shows it in its tool tip.
/// `text()` is the text that was set. Rich text may change font and colour within the line.
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
