// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QAccessibleWidget>

#include <map>

class MediaListWidget;

/// A bank's list for assistive technology: what Qt tells of any list, with rows that speak of their
/// marks (MediaRowAccessible).
///
/// A row's interface is made when it is first asked for, and belongs to the list from then on. It
/// goes with its row: a change of rows takes the interfaces of all rows from there on away, and the
/// new rows get their own.
class MediaListAccessible final : public QAccessibleWidget, public QAccessibleTableInterface
{
public:
    /// A factory for QAccessible::installFactory: null for any object but a MediaListWidget.
    [[nodiscard]] static QAccessibleInterface *make(const QString &className, QObject *object);

    [[nodiscard]] QAccessibleInterface *child(int row) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;
    [[nodiscard]] int childCount() const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    /// The current row, whether the list has the focus or not.
    [[nodiscard]] QAccessibleInterface *focusChild() const override;
    [[nodiscard]] void *interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QAccessibleInterface *caption() const override;
    [[nodiscard]] QAccessibleInterface *summary() const override;
    [[nodiscard]] QAccessibleInterface *cellAt(int row, int column) const override;
    [[nodiscard]] int selectedCellCount() const override;
    [[nodiscard]] QList<QAccessibleInterface *> selectedCells() const override;
    [[nodiscard]] QString columnDescription(int column) const override;
    [[nodiscard]] QString rowDescription(int row) const override;
    [[nodiscard]] int selectedColumnCount() const override;
    [[nodiscard]] int selectedRowCount() const override;
    [[nodiscard]] int columnCount() const override;
    [[nodiscard]] int rowCount() const override;
    [[nodiscard]] QList<int> selectedColumns() const override;
    [[nodiscard]] QList<int> selectedRows() const override;
    [[nodiscard]] bool isColumnSelected(int column) const override;
    [[nodiscard]] bool isRowSelected(int row) const override;
    bool selectRow(int row) override;
    bool selectColumn(int column) override;
    bool unselectRow(int row) override;
    bool unselectColumn(int column) override;
    void modelChange(QAccessibleTableModelChangeEvent *event) override;

private:
    explicit MediaListAccessible(MediaListWidget *list);
    ~MediaListAccessible() override;

    [[nodiscard]] MediaListWidget *list() const;
    void forgetRows(int first) const;

    mutable std::map<int, QAccessible::Id> rows;
};
