// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ControllerFixture.h"

#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>

/// The rows of a test that declines a warning.
inline void addRefusals()
{
    QTest::addColumn<bool>("escape");
    QTest::newRow("No") << false;
    QTest::newRow("Escape") << true;
}

/// The rows of a test that calls OperationFixture::loseServerADuring.
inline void addLosses()
{
    QTest::addColumn<bool>("endsItsStream");
    QTest::newRow("announcements stop") << false;
    QTest::newRow("stream ends") << true;
}

inline void pressYes(const QDialog &warning)
{
    warning.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Yes)->click();
}

/// A visible window with two scripted servers in its banks. The test switches warnings on.
class OperationFixture : public ControllerFixture
{
public:
    /// Folder 3, "Stage", with visuals in slots 3, 5, 7 and 255, after three empty ones.
    [[nodiscard]] static QList<MediaFolder> library()
    {
        return {folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops")),
                folder(2, QStringLiteral("Stills")),
                folder(3, QStringLiteral("Stage"),
                       {cachedVisual(3, QStringLiteral("Sunset"), 3),
                        cachedVisual(5, QStringLiteral("Harbour"), 5),
                        cachedVisual(7, QStringLiteral("Bridge"), 7),
                        cachedVisual(255, QStringLiteral("Last"), 9)})};
    }
    /// A library without folder 1: row 1 shows folder 2, row 2 shows folder 3.
    [[nodiscard]] static QList<MediaFolder> sparseLibrary()
    {
        return {
            folder(0, QStringLiteral("Intro")),
            folder(2, QStringLiteral("Stills"), {cachedVisual(3, QStringLiteral("Sunset"), 3)}),
            folder(3, QStringLiteral("Stage"), {cachedVisual(5, QStringLiteral("Harbour"), 5)})};
    }

    [[nodiscard]] bool open(quint32 warnings = 0, const QList<MediaFolder> &folders = library())
    {
        model.warningLevel = warnings;
        return show() && connectServer(one, QStringLiteral("One"), folders) &&
               connectServer(two, QStringLiteral("Two"), folders);
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

    /// Whether a task's dialog exists, shown or not.
    [[nodiscard]] bool hasStarted() const
    {
        return window->findChildren<BVProgressDialog *>().size() > 1;
    }
    /// Waits until the task has ended and the server's library was requested a second time.
    [[nodiscard]] bool hasDownloadedAgain(const ScriptedServer &server) const
    {
        return waitFor([&] { return !hasStarted() && server.libraryRequests() == 2; });
    }
    /// Removes bank A's server, as when its announcements stop.
    void loseServerA() { controller().removeServer(one.uuid); }

    /// Loses bank A's server while the next dialog is open, and calls `then` after the message.
    void loseServerADuring(ModalDriver &modals, bool endsItsStream, const ModalDriver::Answer &then)
    {
        modals.answer([this, &modals, endsItsStream, then](QDialog &dialog) {
            if (endsItsStream)
                one.stream.close();
            else
                loseServerA();
            QVERIFY(waitFor([&] { return !modals.pending(); }));
            then(dialog);
        });
        if (endsItsStream)
            modals.press(QMessageBox::Ok);
    }

    ScriptedServer one{loopback(1)};
    ScriptedServer two{loopback(2)};

private:
    static void click(const BVServerBank &bank, const char *button)
    {
        QTest::mouseClick(&childOf<QPushButton>(bank, button), Qt::LeftButton);
    }
};
