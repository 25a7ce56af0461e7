// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Controller/ControllerFixture.h"

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/ErrorMessageDialog.h"
#include "Dialogs/TransferDialog.h"

#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <utility>

/// Folder 1 has twelve visuals, which bank B's server lacks, and folder 3 has two.
inline QList<MediaFolder> fullLibrary(int hashOffset = 0)
{
    QList<Visual> many;
    for (int slot = 1; slot <= 12; ++slot)
        many.append(cachedVisual(slot, QStringLiteral("Loop"), 100 + slot));
    return {folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops"), many),
            folder(2, QStringLiteral("Stills")),
            folder(3, QStringLiteral("Stage"),
                   {cachedVisual(3, QStringLiteral("Sunset"), 3 + hashOffset),
                    cachedVisual(5, QStringLiteral("Harbour"), 5)})};
}

inline QList<MediaFolder> otherLibrary(int hashOffset = 0)
{
    return {folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops")),
            folder(2, QStringLiteral("Stills")),
            folder(3, QStringLiteral("Stage"),
                   {cachedVisual(3, QStringLiteral("Sunset"), 30 + hashOffset),
                    cachedVisual(7, QStringLiteral("Bridge"), 7)})};
}

/// The first dialog with that text is the subject until it is deleted: `onOpen` is called with it
/// once. On a busy machine the progress of its task may be shown before. Messages and file dialogs
/// that open later are closed; the texts of messages are recorded.
class Watcher final : public QObject
{
public:
    Watcher(const QString &textOfSubject, std::function<void(QDialog &)> whenOpen)
        : subjectText(textOfSubject)
        , onOpen(std::move(whenOpen))
    {
        poll();
    }

    QStringList messages;

private:
    // One timer for each poll: a timer does not fire while its slot runs, and dialogs nest.
    void poll()
    {
        QTimer::singleShot(std::chrono::milliseconds(2), this, &Watcher::poll);
        auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        if (onOpen && textOf(*dialog) == subjectText) {
            subject = dialog;
            std::exchange(onOpen, {})(*dialog);
        } else if (!onOpen && dialog != subject) {
            close(*dialog);
        }
    }
    void close(QDialog &dialog)
    {
        if (qobject_cast<ErrorMessageDialog *>(&dialog))
            messages.append(textOf(dialog));
        if (qobject_cast<ErrorMessageDialog *>(&dialog) || qobject_cast<QFileDialog *>(&dialog))
            dialog.reject();
    }
    static QString textOf(const QDialog &dialog)
    {
        if (const auto *const box = qobject_cast<const QMessageBox *>(&dialog))
            return box->text();
        const auto *const label = dialog.findChild<QLabel *>(QStringLiteral("errorText"));
        return label ? label->text() : QString();
    }

    const QString subjectText;
    QPointer<QDialog> subject;
    std::function<void(QDialog &)> onOpen;
};

/// Two scripted servers with different libraries, bank A's folder 3 with two visuals selected.
class DialogFixture final : public ControllerFixture
{
public:
    [[nodiscard]] bool open(int folderSlot)
    {
        if (!show() || !connectServer(one, QStringLiteral("One"), fullLibrary()) ||
            !connectServer(two, QStringLiteral("Two"), otherLibrary()))
            return false;
        if (folderSlot != -1)
            doubleClickRow(bankA(), folderSlot);
        const int rows = folderSlot == -1 ? 256 : 257;
        return waitFor(
            [&] { return listOf(bankA()).count() == rows && listOf(bankB()).count() == rows; });
    }
    void select(const QList<int> &rows) const
    {
        for (const int row : rows)
            clickRow(bankA(), row, row == rows.first() ? Qt::NoModifier : Qt::ControlModifier);
    }
    void click(const char *button) const
    {
        QTest::mouseClick(&childOf<QPushButton>(bankA(), button), Qt::LeftButton);
    }
    [[nodiscard]] QString file() const
    {
        QFile content(sandbox.directory().filePath(QStringLiteral("clip.mov")));
        if (!content.open(QIODevice::WriteOnly) || content.write("content") < 0)
            qFatal("cannot write %s", qPrintable(content.fileName()));
        return content.fileName();
    }
    /// Waits until the program has handled everything that the server sent before.
    [[nodiscard]] bool waitUntilHandled(ScriptedServer &server)
    {
        const int mark = ++marks;
        server.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":)" + QByteArray::number(mark) +
                                       R"(,"TFPS":1,"MFPS":1})"));
        return waitFor(
            [&] { return controller().connectedServer(server.uuid).graphFps == float(mark); });
    }
    /// The same for another server than the first, which gives the program time for the messages of
    /// the first.
    [[nodiscard]] bool waitUntilAnotherIsHandled()
    {
        for (ScriptedServer *const server : {&two, &three}) {
            if (isConnected(*server))
                return waitUntilHandled(*server);
        }
        return connectServer(three, QStringLiteral("Three"), fullLibrary()) &&
               waitUntilHandled(three);
    }
    [[nodiscard]] bool isTaskRunning() const
    {
        return window->findChildren<BVProgressDialog *>().size() > 1 ||
               window->findChild<TransferDialog *>();
    }

    ScriptedServer one{loopback(1)};
    ScriptedServer two{loopback(2)};
    ScriptedServer three{loopback(3)};

private:
    int marks = 0;
};
