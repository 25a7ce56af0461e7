// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QAccessibleInterface>
#include <QPersistentModelIndex>
#include <QPointer>

class MediaListWidget;

/// One row of a bank's list for assistive technology: what Qt tells of a list's row, and as its
/// description the mark that is drawn on its picture, asked of the bank at each call.
///
/// A client may hold it longer than the row lives. It is then no longer valid, and answers every
/// question as an empty row would.
class MediaRowAccessible final : public QAccessibleInterface,
                                 public QAccessibleTableCellInterface,
                                 public QAccessibleActionInterface
{
public:
    MediaRowAccessible(MediaListWidget *owner, const QModelIndex &rowOfOwner);

    [[nodiscard]] bool isValid() const override;
    [[nodiscard]] QObject *object() const override;
    [[nodiscard]] QWindow *window() const override;
    [[nodiscard]] QAccessibleInterface *parent() const override;
    [[nodiscard]] QAccessibleInterface *child(int number) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;
    [[nodiscard]] int childCount() const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    /// Does nothing: a row's text is the server's.
    void setText(QAccessible::Text kind, const QString &text) override;
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QAccessible::Role role() const override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] void *interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] bool isSelected() const override;
    [[nodiscard]] QList<QAccessibleInterface *> columnHeaderCells() const override;
    [[nodiscard]] QList<QAccessibleInterface *> rowHeaderCells() const override;
    [[nodiscard]] int columnIndex() const override;
    /// -1 once the row is gone.
    [[nodiscard]] int rowIndex() const override;
    [[nodiscard]] int columnExtent() const override;
    [[nodiscard]] int rowExtent() const override;
    [[nodiscard]] QAccessibleInterface *table() const override;

    [[nodiscard]] QStringList actionNames() const override;
    /// Toggles the row's selection and leaves that of all others.
    void doAction(const QString &actionName) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString &actionName) const override;

private:
    [[nodiscard]] QString markText() const;

    QPointer<MediaListWidget> list;
    QPersistentModelIndex index;
};
