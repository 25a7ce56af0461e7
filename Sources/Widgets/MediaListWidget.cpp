// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/MediaListWidget.h"

#include <QDropEvent>

namespace {

/// Required: the first three characters, so that a name such as "7: Rain" means slot 0.
int slotNumber(const QListWidgetItem &item)
{
    return item.text().left(3).toInt();
}

} // namespace

MediaListWidget::MediaListWidget(QWidget *parent)
    : QListWidget(parent)
{
}

void MediaListWidget::dragMoveEvent(QDragMoveEvent *event)
{
    if (qobject_cast<MediaListWidget *>(event->source()) == this && selectedItems().size() == 1)
        event->acceptProposedAction();
    else
        event->ignore(); // after an accepted enter event Qt delivers moves as accepted
}

void MediaListWidget::dragEnterEvent(QDragEnterEvent *event)
{
    event->acceptProposedAction();
}

void MediaListWidget::dropEvent(QDropEvent *event)
{
    // The view would remove the dragged row after an accepted move.
    event->ignore();
    if (qobject_cast<MediaListWidget *>(event->source()) != this)
        return;
    const auto *target = itemAt(event->position().toPoint());
    const auto dragged = selectedItems();
    if (!target || dragged.isEmpty())
        return;
    emit moveItem(slotNumber(*dragged.first()), slotNumber(*target));
}
