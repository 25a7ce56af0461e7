// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ControllerRig.h"

#include "Dialogs/BVProgressDialog.h"
#include "Support/Wait.h"

/// A window on the screen with two played servers in its banks, and no warnings but those that the
/// test switches on.
class OperationStage final
{
public:
    /// The address of bank A's server; bank B's is the next one.
    explicit OperationStage(const QString &ip)
        : one(ip)
        , two(ip.chopped(1) + QString::number(ip.last(1).toInt() + 1))
    {
    }

    /// Folder 3, "Stage", with visuals in slots 3, 5, 7 and 255, after three empty ones.
    [[nodiscard]] static QList<MediaFolder> library()
    {
        return {
            folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops")),
            folder(2, QStringLiteral("Stills")),
            folder(3, QStringLiteral("Stage"),
                   {visual(3, QStringLiteral("Sunset"), 3), visual(5, QStringLiteral("Harbour"), 5),
                    visual(7, QStringLiteral("Bridge"), 7),
                    visual(255, QStringLiteral("Last"), 9)})};
    }
    /// A library without folder 1: folder 2 stands in folder 1's place, and folder 3 in folder 2's.
    [[nodiscard]] static QList<MediaFolder> sparseLibrary()
    {
        return {folder(0, QStringLiteral("Intro")),
                folder(2, QStringLiteral("Stills"), {visual(3, QStringLiteral("Sunset"), 3)}),
                folder(3, QStringLiteral("Stage"), {visual(5, QStringLiteral("Harbour"), 5)})};
    }

    [[nodiscard]] bool open(quint32 warnings = 0, const QList<MediaFolder> &folders = library())
    {
        rig.model().warningLevel = warnings;
        return rig.rig.show() && rig.bringUp(one, QStringLiteral("One"), folders) &&
               rig.bringUp(two, QStringLiteral("Two"), folders);
    }
    /// The same, with a folder opened by a double click.
    [[nodiscard]] bool openInside(int folderSlot, quint32 warnings = 0,
                                  const QList<MediaFolder> &folders = library())
    {
        if (!open(warnings, folders))
            return false;
        doubleClickRow(bankA(), folderSlot);
        return bankA().currentFolder == folderSlot && listOf(bankA()).count() == 257 &&
               listOf(bankB()).count() == 257;
    }

    static void clickRemove(const BVServerBank &bank) { click(bank, "removeButton"); }
    static void clickUpload(const BVServerBank &bank) { click(bank, "addButton"); }

    /// Whether a task's dialog was made, on the screen yet or not.
    [[nodiscard]] bool hasStarted() const
    {
        return rig.rig.window->findChildren<BVProgressDialog *>().size() > 1;
    }
    /// The progress dialog with that window title, null if there is none.
    [[nodiscard]] BVProgressDialog *dialog(const QString &title) const
    {
        for (auto *const candidate : rig.rig.window->findChildren<BVProgressDialog *>()) {
            if (candidate->windowTitle() == title)
                return candidate;
        }
        return nullptr;
    }
    /// Waits until that dialog is on the screen and cancels it; false if it never came.
    [[nodiscard]] bool cancel(const QString &title) const
    {
        const auto shown = [&] { return dialog(title) && dialog(title)->isVisible(); };
        if (!waitFor(shown))
            return false;
        QTest::keyClick(dialog(title), Qt::Key_Escape);
        return true;
    }
    /// Waits until the task is gone and its server's library was fetched anew.
    [[nodiscard]] bool isFetchedAnew(const PlayedServer &server) const
    {
        return waitFor([&] { return !hasStarted() && server.libraryRequests() == 2; });
    }
    /// As ControllerRig::settle.
    [[nodiscard]] bool settle(const PlayedServer &server) const { return rig.settle(server); }
    /// Takes bank A's server away, as the announcements' silence does.
    void lose() { rig.controller().removeServer(one.uuid); }

    [[nodiscard]] UIController &controller() const { return rig.controller(); }
    [[nodiscard]] ApplicationModel &model() { return rig.model(); }
    [[nodiscard]] BVServerBank &bankA() const { return rig.bankA(); }
    [[nodiscard]] BVServerBank &bankB() const { return rig.bankB(); }

    PlayedServer one;
    PlayedServer two;
    ControllerRig rig;

private:
    static void click(const BVServerBank &bank, const char *button)
    {
        QTest::mouseClick(&childOf<QPushButton>(bank, button), Qt::LeftButton);
    }
};
