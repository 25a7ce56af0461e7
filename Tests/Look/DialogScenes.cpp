// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"
#include "Dialogs/BVPreferencesDialog.h"
#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/ErrorMessageDialog.h"
#include "Dialogs/TransferDialog.h"
#include "Look/LookFixture.h"
#include "Look/Scenes.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QCompleter>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

using TakeDialog = std::function<QImage(QDialog &)>;

/// The dialog that opens in `call`, which returns once the dialog is closed.
template <typename Call>
QImage takeModal(const Call &call, const TakeDialog &take = pictureOf)
{
    QImage picture;
    ModalDriver modals(std::chrono::seconds(10),
                       [](const QString &text) { qFatal("%s", qPrintable(text)); });
    modals.answer([&picture, &take](QDialog &dialog) {
        if (waitForKeyboard(dialog))
            picture = take(dialog);
        dialog.reject();
    });
    call();
    return picture;
}

QImage takeShown(QDialog &dialog)
{
    dialog.show();
    return waitForKeyboard(dialog) ? pictureOf(dialog) : QImage();
}

QStringList shortLabels()
{
    return {u"Loops - 001: Sunset "_s, u"Loops - 002: Harbour at night "_s,
            u"Loops - 003: Dunes "_s,  u"Stills - 001: Alpine meadow "_s,
            u"Stills - 002: Fog "_s,   u"Finale - 001: Lighthouse.mov "_s};
}

QStringList longLabels()
{
    QStringList labels;
    for (int slot = 1; slot <= 40; ++slot)
        labels.append(u"Recordings of the second rehearsal in the large hall, camera %1 - %2: A "
                      "panorama of the harbour at the blue hour with all of its ships "_s.arg(
                          QString::number(slot), threeDigits(slot)));
    return labels;
}

/// A transfer whose rows have those states in turn.
QImage takeTransfer(const QStringList &labels,
                    const QList<std::pair<int, Brenvoka::SyncStates>> &states)
{
    LookFixture fixture(usualServers());
    TransferDialog dialog(fixture.window.get());
    for (int i = 0; i < labels.size(); ++i)
        dialog.addTransfer(0, i, labels[i]);
    for (int i = 0; i < labels.size(); ++i) {
        const auto [percent, state] = states[i % states.size()];
        dialog.updateTransfer(0, i, percent, state);
        if (state == Brenvoka::SyncFinished)
            dialog.finishTransfer(0, i);
    }
    return takeShown(dialog);
}

QImage takeRunning(const QStringList &labels)
{
    using namespace Brenvoka;
    return takeTransfer(labels, {{100, SyncFinished},
                                 {100, SyncImporting},
                                 {64, SyncTransferring},
                                 {7, SyncTransferring},
                                 {0, SyncQueued}});
}

QImage takeProgress(const QString &text, const QString &title, int steps, int done)
{
    LookFixture fixture(usualServers());
    BVProgressDialog dialog(text, false, fixture.window.get());
    dialog.setWindowTitle(title);
    dialog.addSteps(steps, false);
    if (done > 0)
        dialog.setProgress(done);
    return takeShown(dialog);
}

QImage takeError(const QString &message, const QStringList &details, bool open)
{
    LookFixture fixture({});
    ErrorMessageDialog dialog(fixture.window.get());
    dialog.displayErrorMessage(message, details);
    if (open)
        dialog.findChild<QPushButton *>(u"errorDetails"_s)->click();
    return takeShown(dialog);
}

QStringList failures()
{
    QStringList lines;
    for (int slot = 1; slot <= 12; ++slot)
        lines.append(u"Remove visual %1 in folder Loops on server \"Stage left\" failed: "
                     "the file is in use by the running show."_s.arg(threeDigits(slot)));
    return lines;
}

QImage takeRemoveWarning()
{
    LookFixture fixture(usualServers());
    return takeModal([&] { fixture.controller().handleRemoveVisuals(ServerDeckA); });
}

QImage takeMoveWarning()
{
    LookFixture fixture(usualServers());
    return takeModal([&] { fixture.controller().handleMoveVisual(1, 2, ServerDeckA); });
}

QImage takeUpload(int row)
{
    LookFixture fixture(usualServers());
    if (!fixture.open(0))
        return {};
    clickRow(fixture.bankA(), row);
    return takeModal([&] { childOf<QPushButton>(fixture.bankA(), "addButton").click(); });
}

/// The warning for more than ten visuals.
QImage takeSyncWarning(const QString &destination)
{
    const QList<Server> servers = usualServers();
    Server empty = differingServer(servers.first(), destination, 2);
    empty.folders = empty.folders.mid(0, 1);
    LookFixture fixture({servers.first(), empty});
    return takeModal([&] { fixture.controller().transferFromServerA(); });
}

QImage takeSmallSyncWarning()
{
    const QList<Server> servers = usualServers();
    LookFixture fixture(servers);
    fixture.bankA().selectRows({1});
    fixture.bankB().selectRows({1});
    return takeModal([&] { fixture.controller().transferFromServerB(); });
}

QImage takePreferences()
{
    LookFixture fixture({});
    BVPreferencesDialog dialog(5, fixture.window.get());
    return takeShown(dialog);
}

QImage takeAbout()
{
    LookFixture fixture({});
    AboutDialog dialog(fixture.window.get());
    return takeShown(dialog);
}

/// The file dialog in a folder with some files, opened as for an upload.
QImage takeFileDialog(const TakeDialog &take)
{
    LookFixture fixture(usualServers());
    const QDir documents = fixture.sandbox.directory();
    documents.mkpath(u"Documents/Loops"_s);
    for (const char *name : {"Harbour at night.mov", "Sunset.jpg", "Дюны.png", "夜の港.mp4"}) {
        QFile file(documents.filePath(u"Documents/"_s + QString::fromUtf8(name)));
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.resize(4'200'000);
    }
    if (!fixture.open(0))
        return {};
    clickRow(fixture.bankA(), 6);
    return takeModal([&] { childOf<QPushButton>(fixture.bankA(), "addButton").click(); }, take);
}

/// The completions for the start of a file name.
QImage takeCompletions(QDialog &dialog)
{
    auto *const name = dialog.findChild<QLineEdit *>(u"fileNameEdit"_s);
    QTest::keyClicks(name, u"S"_s);
    const auto isOffering = [name] { return name->completer()->popup()->isVisible(); };
    return waitFor(isOffering) ? screenPicture() : QImage();
}

QList<Scene> transferScenes()
{
    using namespace Brenvoka;
    return {
        {u"transfer"_s, [] { return takeRunning(shortLabels()); }, true},
        {u"transfer-long"_s, [] { return takeRunning(longLabels()); }, true},
        {u"transfer-failing"_s,
         [] {
             return takeTransfer(
                 shortLabels(),
                 {{100, SyncFinished}, {0, SyncFailed}, {30, SyncCanceling}, {30, SyncCanceled}});
         },
         true},
        {u"transfer-importing"_s,
         [] {
             return takeTransfer(shortLabels(), {{100, SyncImporting}});
         }},
        {u"transfer-finished"_s,
         [] {
             return takeTransfer(shortLabels(), {{100, SyncFinished}});
         },
         true},
    };
}

QList<Scene> progressScenes()
{
    return {
        {u"progress"_s,
         [] { return takeProgress(u"Downloading thumbnails"_s, u"Downloading"_s, 40, 25); }, true},
        {u"progress-start"_s,
         [] { return takeProgress(u"Removing visuals"_s, u"Removing..."_s, 40, 0); }},
        {u"progress-busy"_s,
         [] { return takeProgress(u"Importing visual"_s, u"Importing..."_s, 0, 0); }},
        {u"progress-full"_s,
         [] { return takeProgress(u"Uploading visual"_s, u"Uploading..."_s, 40, 40); }},
    };
}

QList<Scene> messageScenes()
{
    const QString message = u"Failed to remove 12 visuals from a total of 20."_s;
    return {
        {u"error"_s, [] { return takeError(u"The servers don't share a subnet"_s, {}, false); },
         true},
        {u"error-details"_s, [=] { return takeError(message, failures(), false); }, true},
        {u"error-details-open"_s, [=] { return takeError(message, failures(), true); }, true},
        {u"error-long"_s,
         [] { return takeError(failures().mid(0, 5).join(u' '), failures(), false); }},
        {u"warning-remove"_s, takeRemoveWarning, true},
        {u"warning-move"_s, takeMoveWarning, true},
        {u"warning-overwrite"_s, [] { return takeUpload(2); }, true},
        {u"warning-sync"_s, takeSmallSyncWarning, true},
        {u"warning-large-sync"_s, [] { return takeSyncWarning(u"Stage right"_s); }, true},
        {u"warning-long-name"_s,
         [] { return takeSyncWarning(u"A server whose name is much longer than any box"_s); }},
        {u"preferences"_s, takePreferences, true},
        {u"about"_s, takeAbout, true},
        {u"file-dialog"_s, [] { return takeFileDialog(pictureOf); }},
        {u"file-dialog-completions"_s, [] { return takeFileDialog(takeCompletions); }},
    };
}

} // namespace

QList<Scene> dialogScenes()
{
    return transferScenes() + progressScenes() + messageScenes();
}
