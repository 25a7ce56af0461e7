// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/OperatorDialogs.h"

#include "Dialogs/ErrorMessageDialog.h"
#include "Model/ApplicationModel.h"
#include "Model/SyncQuestion.h"
#include "Model/Warnings.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"

#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

OperatorDialogs::OperatorDialogs(ApplicationModel *applicationModel, BVMainWindow *window)
    : model(applicationModel)
    , mainWindow(window)
{
}

void OperatorDialogs::showError(const QString &message, const QStringList &details) const
{
    // Guarded: the window deletes the dialog if it is closed while the message is open.
    const QPointer<ErrorMessageDialog> dialog = new ErrorMessageDialog(mainWindow);
    dialog->displayErrorMessage(message, details);
    dialog->setModal(true);
    dialog->exec();
    delete dialog;
}

bool OperatorDialogs::confirmSync(const LibraryComparison::SyncPlan &plan, const QString &source,
                                  const QString &destination) const
{
    const SyncQuestion question(plan, model->warningLevel, shownName(source),
                                shownName(destination));
    if (question.kind() == SyncQuestion::None)
        return true;
    return confirmWarning(question.text(), tr("Visual synchronize"),
                          question.kind() == SyncQuestion::Large ? Warnings::largeSync
                                                                 : Warnings::destructive);
}

bool OperatorDialogs::confirmRemoval() const
{
    return confirmWarning(tr("Are you sure you want to remove the selected visuals?\n\n"
                             "Note: The operation can not be undone."),
                          tr("Visual remove"), Warnings::destructive);
}

bool OperatorDialogs::confirmMove() const
{
    // Required: the title is that of a removal.
    return confirmWarning(tr("Are you sure you want to move the selected visual?\n\n"
                             "Note: The operation can not be canceled or undone."),
                          tr("Visual remove"), Warnings::move);
}

bool OperatorDialogs::confirmOverwrite() const
{
    return confirmWarning(
        tr("Are you sure you want to overwrite the selected visual?\n"
           "The operation will permanently remove the visual in the destination slot"),
        tr("Visual upload"), Warnings::upload);
}

QString OperatorDialogs::askForUpload(const QString &directory) const
{
    const QString start = directory.isEmpty()
                              ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
                              : directory;
    QString filter = tr("All files (*.*)");
    // Required: the list names MP4 twice.
    return QFileDialog::getOpenFileName(
        mainWindow, tr("Select file for upload"), start,
        tr("All files (*.*);;JPEG (*.jpg *.jpeg);;BMP (*.bmp);;GIF (*.gif);;PNG (*.png);;"
           "AVI (*.avi);;MOV (*.mov);;MP4 (*.mp4);;MPEG (*.mpg *.mpeg);;M2V (*.m2v);;"
           "M4V (*.m4v);;MKV (*.mkv);;MP4 (*.mp4);;VOB (*.vob);;TS (*.ts);;DV (*.dv);;"
           "SWF (*.swf);;ASF (*.asf);;WMV (*.wmv);;MTS (*.mts);;FLV (*.flv);;F4V (*.f4v);;"
           "M2TS (*.m2ts);;QTZ (*.qtz);;OBJ (*.obj);;Mp3 (*.mp3);;FLAC (*.flac);;WAV (*.wav);;"
           "AIF (*.aif *.aiff);;APE (*.ape);;WMA (*.wma);;OGG (*.ogg)"),
        &filter);
}

bool OperatorDialogs::confirmWarning(const QString &text, const QString &title, quint32 bit) const
{
    if (!(model->warningLevel & bit))
        return true;
    // Guarded: the window deletes the box if it is closed while the warning is open.
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
    const bool isDisabled = clicked == dontAsk;
    const bool isConfirmed = isDisabled || clicked == box->button(QMessageBox::Yes);
    delete box;
    if (isDisabled) {
        model->warningLevel &= ~bit;
        model->save();
    }
    return isConfirmed;
}
