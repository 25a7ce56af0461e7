// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/UIController.h"

#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Model/LibraryComparison.h"
#include "Tasks/MoveTask.h"
#include "Tasks/RemoveTask.h"
#include "Tasks/SyncTask.h"
#include "Tasks/UploadTask.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 destructiveWarning = 1;
constexpr quint32 moveWarning = 2;
constexpr quint32 overwriteWarning = 4;
constexpr quint32 largeSyncWarning = 8;
constexpr qsizetype largeSyncCount = 11;

} // namespace

void UIController::transferFromServerA()
{
    if (!bankA->currentServerUuid().isNull())
        startTransfer(bankA, bankB);
}

void UIController::transferFromServerB()
{
    if (!bankB->currentServerUuid().isNull())
        startTransfer(bankB, bankA);
}

void UIController::startTransfer(BVServerBank *source, BVServerBank *destination)
{
    const Server &sourceRecord = source->currentServer();
    const Server &destinationRecord = destination->currentServer();
    const SubnetMatch match = sourceRecord.findCommonSubnet(destinationRecord);
    if (!match.found) {
        ZOR_LOG(info, "Server don't share a subnet");
        showErrorMessage(tr("The servers don't share a subnet"));
        return;
    }
    // A bank that is still loading may lack the rows that the other one shows as selected.
    const BVServerBank *const selected = source->selectedRowCount() < 1 ? destination : source;
    const QList<VisualRef> candidates =
        selected->selectedRowCount() < 1 ? source->allVisuals()
                                         : source->visualsOfRows(selected->selectedRows(), false);
    const LibraryComparison::SyncPlan plan =
        LibraryComparison::planSync(sourceRecord, destinationRecord, candidates);

    // The records may be gone once the operator has answered.
    const QUuid sourceUuid = sourceRecord.uuid;
    const QUuid destinationUuid = destinationRecord.uuid;
    if (!confirmSync(plan, sourceRecord.name, destinationRecord.name))
        return;
    startTask(new SyncTask(sourceUuid, match.addresses.first, destinationUuid,
                           match.addresses.second, plan.renames, plan.transfers, plan.removals,
                           model, mainWindow, &connections));
}

bool UIController::confirmSync(const LibraryComparison::SyncPlan &plan, const QString &source,
                               const QString &destination)
{
    const QString title = tr("Visual synchronize");
    if (plan.visualCount() >= largeSyncCount && (model->warningLevel & largeSyncWarning)) {
        QString text = tr("You are trying to synchronize %1 visuals from server %2 to server %3.\n")
                           .arg(QString::number(plan.visualCount()), shownName(source),
                                shownName(destination));
        if (plan.isDestructive())
            text += tr("The operation may permanently remove or replace visuals in destination "
                       "slots.");
        text += tr("\nAre you sure you want to continue?");
        text += tr("\n\nNote: The operation can not be undone.");
        return confirmWarning(text, title, largeSyncWarning);
    }
    if (!plan.isDestructive())
        return true;
    return confirmWarning(
        tr("Are you sure you want to synchronize the selected visuals?\n"
           "The operation may permanently remove or replace visuals in destination slots\n\n"
           "Note: The operation can not be  undone."),
        title, destructiveWarning);
}

void UIController::handleRemoveVisuals(ServerDeck serverDeck)
{
    if (model->servers.isEmpty())
        return;
    if (!confirmWarning(tr("Are you sure you want to remove the selected visuals?\n\n"
                           "Note: The operation can not be undone."),
                        tr("Visual remove"), destructiveWarning))
        return;
    const BVServerBank *const bank = bankOf(serverDeck);
    const QList<VisualRef> visuals = bank->selectedVisuals(true);
    if (visuals.isEmpty())
        return;
    startTask(new RemoveTask(model, mainWindow, &connections, bank->currentServerUuid(), visuals));
}

void UIController::handleMoveVisual(int from, int to, ServerDeck serverDeck)
{
    if (model->servers.isEmpty())
        return;
    // What the row was dragged on; the bank may show something else once the operator has answered.
    const QUuid uuid = bankOf(serverDeck)->currentServerUuid();
    const int folder = model->selectedFolder;
    if (!confirmWarning(tr("Are you sure you want to move the selected visual?\n\n"
                           "Note: The operation can not be canceled or undone."),
                        tr("Visual remove"), moveWarning))
        return;
    startTask(new MoveTask(model, mainWindow, &connections, uuid, folder, from, to));
}

void UIController::uploadFile(QUuid uuid, int folderIndex, int visualIndex)
{
    const BVServerBank *const bank = bankShowing(uuid);
    if (!bank)
        return;
    const QList<VisualRef> visuals = bank->selectedVisuals(false);
    if (visuals.size() != 1)
        return;
    const auto [folder, slot] = visuals.first();
    if (!LibraryComparison::slotEmpty(bank->currentServer(), folder, slot) &&
        !confirmWarning(tr("Are you sure you want to overwrite the selected visual?\n"
                           "The operation will permanently remove the visual in the destination "
                           "slot"),
                        tr("Visual upload"), overwriteWarning))
        return;
    const QString path = askForUpload();
    if (!path.isEmpty())
        startTask(
            new UploadTask(model, mainWindow, &connections, uuid, folderIndex, visualIndex, path));
}

QString UIController::askForUpload()
{
    const QString directory =
        lastUploadDirectory.isEmpty()
            ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
            : lastUploadDirectory;
    QString filter = tr("All files (*.*)");
    QString path = QFileDialog::getOpenFileName(
        mainWindow, tr("Select file for upload"), directory,
        tr("All files (*.*);;JPEG (*.jpg *.jpeg);;BMP (*.bmp);;GIF (*.gif);;PNG (*.png);;"
           "AVI (*.avi);;MOV (*.mov);;MP4 (*.mp4);;MPEG (*.mpg *.mpeg);;M2V (*.m2v);;"
           "M4V (*.m4v);;MKV (*.mkv);;MP4 (*.mp4);;VOB (*.vob);;TS (*.ts);;DV (*.dv);;"
           "SWF (*.swf);;ASF (*.asf);;WMV (*.wmv);;MTS (*.mts);;FLV (*.flv);;F4V (*.f4v);;"
           "M2TS (*.m2ts);;QTZ (*.qtz);;OBJ (*.obj);;Mp3 (*.mp3);;FLAC (*.flac);;WAV (*.wav);;"
           "AIF (*.aif *.aiff);;APE (*.ape);;WMA (*.wma);;OGG (*.ogg)"),
        &filter);
    if (!path.isEmpty())
        lastUploadDirectory = QFileInfo(path).absolutePath();
    return path;
}

BVServerBank *UIController::bankOf(ServerDeck deck) const
{
    return deck == ServerDeckA ? bankA : bankB;
}

BVServerBank *UIController::bankShowing(const QUuid &uuid) const
{
    for (BVServerBank *const bank : {bankA, bankB}) {
        if (bank->currentServerUuid() == uuid)
            return bank;
    }
    return nullptr;
}

bool UIController::confirmWarning(const QString &text, const QString &title, quint32 bit)
{
    if (!(model->warningLevel & bit))
        return true;
    // Guarded: if the window goes while the warning is open, it takes the box along.
    const QPointer<QMessageBox> box =
        new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Yes | QMessageBox::No,
                        mainWindow, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box->setTextFormat(Qt::PlainText);
    if (auto *const sign = box->findChild<QLabel *>(u"qt_msgboxex_icon_label"_s))
        sign->setAccessibleName(tr("Warning"));
    box->setDefaultButton(QMessageBox::No);
    box->button(QMessageBox::Yes)->setMinimumWidth(60);
    box->button(QMessageBox::No)->setMinimumWidth(60);
    const QAbstractButton *const dontAsk =
        box->addButton(tr("Yes, don't ask again"), QMessageBox::ApplyRole);
    box->exec();
    if (!box)
        return false;
    const QAbstractButton *const clicked = box->clickedButton();
    const bool isAskedNoMore = clicked == dontAsk;
    const bool isConfirmed = isAskedNoMore || clicked == box->button(QMessageBox::Yes);
    delete box;
    if (isAskedNoMore) {
        model->warningLevel &= ~bit;
        model->save();
    }
    return isConfirmed;
}

void UIController::startTask(TaskBase *task)
{
    currentTask = task;
    connect(task, &TaskBase::taskFinished, this, &UIController::onTaskFinished,
            Qt::QueuedConnection);
    task->start();
}

void UIController::onTaskFinished(TaskBase *task)
{
    if (!task || task != currentTask) {
        ZOR_LOG(error, "Finish notification received from invalid task");
        return;
    }
    const bool hasErrors = task->hasErrors();
    const QString message = task->errorMessage();
    const QStringList details = task->errorDetails();
    const QUuid affected = task->affectedServer();
    disconnect(task, &TaskBase::taskFinished, this, &UIController::onTaskFinished);
    delete task;
    currentTask = nullptr;

    requestLibrary(connectedServer(affected));
    if (hasErrors)
        showErrorMessageWithDetail(message, details);
}

void UIController::updateTransferButtons()
{
    const QUuid uuidA = bankA->currentServerUuid();
    const QUuid uuidB = bankB->currentServerUuid();
    if (uuidA.isNull() || uuidB.isNull() || uuidA == uuidB) {
        mainWindow->setTransferEnabled(false);
        return;
    }
    // Bank A's server is tested with itself: whether the two reach each other is asked at the
    // click.
    const Server &server = bankA->currentServer();
    if (server.findCommonSubnet(server).found) {
        mainWindow->setTransferEnabled(true);
        return;
    }
    ZOR_LOG(info, "Server don't share a subnet");
    showErrorMessage(tr("The servers don't share a subnet"));
    mainWindow->setTransferEnabled(false);
}
