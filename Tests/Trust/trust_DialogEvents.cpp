// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/OperationStage.h"

#include "Dialogs/ErrorMessageDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/Trust.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <functional>
#include <optional>
#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 allWarnings = 0xFFFFFFFF;
constexpr auto executePath = "/brenvoka/execute.html";
constexpr auto notifierPath = "/brenvoka/notifier.html";
constexpr auto uploadPath = "/brenvoka/upload.html";

/// What bank B's server lacks: folder 3 has two visuals, folder 1 has twelve.
QList<MediaFolder> fullLibrary(int hashOffset = 0)
{
    QList<Visual> many;
    for (int slot = 1; slot <= 12; ++slot)
        many.append(visual(slot, u"Loop"_s, 100 + slot));
    return {folder(0, u"Intro"_s), folder(1, u"Loops"_s, many), folder(2, u"Stills"_s),
            folder(3, u"Stage"_s,
                   {visual(3, u"Sunset"_s, 3 + hashOffset), visual(5, u"Harbour"_s, 5)})};
}

QList<MediaFolder> otherLibrary(int hashOffset = 0)
{
    return {folder(0, u"Intro"_s), folder(1, u"Loops"_s), folder(2, u"Stills"_s),
            folder(3, u"Stage"_s,
                   {visual(3, u"Sunset"_s, 30 + hashOffset), visual(7, u"Bridge"_s, 7)})};
}

/// The first dialog that is open, for as long as it lives, is the subject: `onOpen` gets it once.
/// Messages and file dialogs that open later are closed; the texts of messages are kept.
class Watcher final : public QObject
{
public:
    explicit Watcher(std::function<void(QDialog &)> whenOpen)
        : onOpen(std::move(whenOpen))
    {
        poll();
    }

    QPointer<QDialog> subject;
    QString subjectText;
    QStringList messages;

private:
    // One timer for each poll: a timer does not fire while its slot runs, and dialogs nest.
    void poll()
    {
        QTimer::singleShot(std::chrono::milliseconds(2), this, &Watcher::poll);
        auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        if (onOpen) {
            subject = dialog;
            subjectText = textOf(*dialog);
            std::exchange(onOpen, {})(*dialog);
        } else if (dialog != subject) {
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
        const auto *const label = dialog.findChild<QLabel *>(u"errorText"_s);
        return label ? label->text() : QString();
    }

    std::function<void(QDialog &)> onOpen;
};

/// Two played servers with different libraries, bank A's folder 3 with two visuals selected.
class Scene final
{
public:
    [[nodiscard]] bool open(int folderSlot)
    {
        rig.model().warningLevel = allWarnings;
        if (!rig.rig.show() || !rig.bringUp(one, u"One"_s, fullLibrary()) ||
            !rig.bringUp(two, u"Two"_s, otherLibrary()))
            return false;
        if (folderSlot != -1)
            doubleClickRow(rig.bankA(), folderSlot);
        const int rows = folderSlot == -1 ? 256 : 257;
        return waitFor([&] {
            return listOf(rig.bankA()).count() == rows && listOf(rig.bankB()).count() == rows;
        });
    }
    void select(const QList<int> &rows) const
    {
        for (const int row : rows)
            clickRow(rig.bankA(), row, row == rows.first() ? Qt::NoModifier : Qt::ControlModifier);
    }
    void click(const char *button) const
    {
        QTest::mouseClick(&childOf<QPushButton>(rig.bankA(), button), Qt::LeftButton);
    }
    [[nodiscard]] QString file() const
    {
        QFile content(rig.rig.sandbox.directory().filePath(u"clip.mov"_s));
        if (!content.open(QIODevice::WriteOnly) || content.write("content") < 0)
            qFatal("cannot write %s", qPrintable(content.fileName()));
        return content.fileName();
    }
    /// Waits until the client has handled everything that the server sent before.
    [[nodiscard]] bool isHeard(PlayedServer &server)
    {
        const int mark = ++marks;
        server.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":)" + QByteArray::number(mark) +
                                       R"(,"TFPS":1,"MFPS":1})"));
        return waitFor(
            [&] { return rig.controller().connectedServer(server.uuid).graphFps == float(mark); });
    }
    /// The same for a server other than the first, so that the client has had the time for what the
    /// first one sent.
    [[nodiscard]] bool isAnotherServerHeard()
    {
        for (PlayedServer *const server : {&two, &three}) {
            if (rig.isConnected(*server))
                return isHeard(*server);
        }
        return rig.bringUp(three, u"Three"_s, fullLibrary()) && isHeard(three);
    }
    [[nodiscard]] bool isTaskRunning() const
    {
        return rig.rig.window->findChildren<BVProgressDialog *>().size() > 1 ||
               rig.rig.window->findChild<TransferDialog *>();
    }

    PlayedServer one{loopback(1)};
    PlayedServer two{loopback(2)};
    PlayedServer three{loopback(3)};
    ControllerRig rig;

private:
    int marks = 0;
};

/// A command on the wire, as a text such as "one 2 3/5": server, type, folder and slot.
using Orders = std::set<QString>;

void addOrders(Orders &orders, const PlayedServer &server, const QString &name)
{
    for (const WireRequest &request : server.wire.requests(executePath)) {
        const QUrlQuery fields(QString::fromUtf8(request.body));
        orders.insert(u"%1 %2 %3/%4"_s.arg(name, fields.queryItemValue(u"req_type"_s),
                                           fields.queryItemValue(u"folderIdx"_s),
                                           fields.queryItemValue(u"visualIdx"_s)));
    }
    for ([[maybe_unused]] const WireRequest &request : server.wire.requests(uploadPath))
        orders.insert(name + u" upload"_s);
}

/// What may happen while a dialog is open.
struct Happening
{
    const char *name;
    bool (*happen)(Scene &scene);
};

bool changeLibrary(Scene &scene, PlayedServer &server, const QList<MediaFolder> &library)
{
    if (!scene.rig.isConnected(server))
        return true;
    const QString before = scene.rig.controller().connectedServer(server.uuid).hash;
    const bool isFetched = !scene.isTaskRunning();
    server.setLibrary(library);
    server.sendLibraryChanged();
    return scene.isHeard(server) && (!isFetched || waitFor([&] {
               return scene.rig.controller().connectedServer(server.uuid).hash != before;
           }));
}

/// A library that was on its way brings a server back at once, which opens another stream.
bool reset(Scene &scene, PlayedServer &server)
{
    const auto streams = [&] { return server.wire.requests(notifierPath).size(); };
    const qsizetype before = streams();
    server.stream.reset();
    return waitFor([&] { return !scene.rig.isConnected(server) || streams() > before; });
}

const Happening happenings[] = {
    {"discovery loses A",
     [](Scene &s) {
         s.rig.controller().removeServer(s.one.uuid);
         return true;
     }},
    {"discovery loses B",
     [](Scene &s) {
         s.rig.controller().removeServer(s.two.uuid);
         return true;
     }},
    {"A disconnects", [](Scene &s) { return reset(s, s.one); }},
    {"B disconnects", [](Scene &s) { return reset(s, s.two); }},
    {"A's library changes", [](Scene &s) { return changeLibrary(s, s.one, fullLibrary(1)); }},
    {"B's library changes", [](Scene &s) { return changeLibrary(s, s.two, otherLibrary(1)); }},
    {"A is renamed",
     [](Scene &s) {
         s.rig.controller().serverNameChanged(s.one.uuid, u"<b>%1</b>"_s);
         return true;
     }},
    {"B is renamed",
     [](Scene &s) {
         s.rig.controller().serverNameChanged(s.two.uuid, u"<b>%1</b>"_s);
         return true;
     }},
    {"a third server appears",
     [](Scene &s) { return s.rig.bringUp(s.three, u"Three"_s, fullLibrary()); }},
};

/// A dialog, how it is opened, what it says, how it is confirmed, and the commands that may go out
/// before (`sent`) and after it was confirmed (`confirmed`).
struct Subject
{
    const char *name;
    int folderSlot;
    void (*open)(Scene &scene);
    const char *text;
    void (*confirm)(Scene &scene, QDialog &dialog);
    Orders sent;
    Orders confirmed;
};

void press(QDialog &dialog, QMessageBox::StandardButton button)
{
    auto *const box = qobject_cast<QMessageBox *>(&dialog);
    QVERIFY(box);
    QTest::mouseClick(box->button(button), Qt::LeftButton);
}

void pressYes(Scene &, QDialog &dialog)
{
    press(dialog, QMessageBox::Yes);
}

void startRemoval(Scene &scene)
{
    scene.rig.model().warningLevel = 0;
    scene.select({4, 6});
    scene.click("removeButton");
}

/// Carries out the removals that were held, and from now on any other at once.
void answerHeld(Scene &scene)
{
    scene.one.accept();
    for (const WireRequest &request : scene.one.wire.requests(executePath))
        request.answer(R"({"msg_type":7,"RESULT":0})");
}

const Subject subjects[] = {
    {"removal warning",
     3,
     [](Scene &s) {
         s.select({4, 6});
         s.click("removeButton");
     },
     "Are you sure you want to remove the selected visuals?\n\n"
     "Note: The operation can not be undone.",
     pressYes,
     {},
     {u"one 2 3/3"_s, u"one 2 3/5"_s}},
    {"move warning",
     3,
     [](Scene &s) { s.rig.controller().handleMoveVisual(3, 1, ServerDeckA); },
     "Are you sure you want to move the selected visual?\n\n"
     "Note: The operation can not be canceled or undone.",
     pressYes,
     {},
     {u"one 3 3/3"_s}},
    {"overwrite warning",
     3,
     [](Scene &s) {
         s.select({4});
         s.click("addButton");
     },
     "Are you sure you want to overwrite the selected visual?\n"
     "The operation will permanently remove the visual in the destination slot",
     pressYes,
     {},
     {}},
    {"file dialog",
     3,
     [](Scene &s) {
         s.select({10});
         s.click("addButton");
     },
     "",
     [](Scene &s, QDialog &dialog) {
         dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(s.file());
         dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
     },
     {},
     {u"one upload"_s}},
    {"sync warning",
     -1,
     [](Scene &s) {
         s.select({3});
         s.rig.clickLeftToRight();
     },
     "Are you sure you want to synchronize the selected visuals?\n"
     "The operation may permanently remove or replace visuals in destination slots\n\n"
     "Note: The operation can not be  undone.",
     pressYes,
     {},
     {u"two 2 3/7"_s, u"two 1 3/3"_s, u"two 1 3/5"_s}},
    {"large sync warning",
     -1,
     [](Scene &s) {
         s.select({1});
         s.rig.clickLeftToRight();
     },
     "You are trying to synchronize 12 visuals from server One to server Two.\n"
     "\nAre you sure you want to continue?\n\nNote: The operation can not be undone.",
     pressYes,
     {},
     {u"two 1 1/1"_s, u"two 1 1/2"_s, u"two 1 1/3"_s, u"two 1 1/4"_s, u"two 1 1/5"_s,
      u"two 1 1/6"_s, u"two 1 1/7"_s, u"two 1 1/8"_s, u"two 1 1/9"_s, u"two 1 1/10"_s,
      u"two 1 1/11"_s, u"two 1 1/12"_s}},
    {"error dialog",
     3,
     [](Scene &s) {
         s.one.refuse("no");
         startRemoval(s);
     },
     "Failed to remove 2 visuals from a total of 2.",
     [](Scene &, QDialog &dialog) { dialog.accept(); },
     {u"one 2 3/3"_s, u"one 2 3/5"_s},
     {}},
    {"progress dialog",
     3,
     [](Scene &s) {
         s.one.wire.hold(executePath);
         startRemoval(s);
     },
     "",
     [](Scene &s, QDialog &) { answerHeld(s); },
     {u"one 2 3/3"_s},
     {u"one 2 3/5"_s}},
    {"transfer window",
     -1,
     [](Scene &s) {
         s.rig.model().warningLevel = 0;
         s.select({1});
         s.rig.clickLeftToRight();
     },
     "",
     [](Scene &s, QDialog &) {
         for (int slot = 1; slot <= 12; ++slot)
             s.two.sendStarted({1, slot});
         for (int slot = 1; slot <= 12; ++slot)
             s.two.sendEnded({1, slot}, Brenvoka::SyncFinished);
     },
     {u"two 1 1/1"_s, u"two 1 1/2"_s, u"two 1 1/3"_s, u"two 1 1/4"_s, u"two 1 1/5"_s,
      u"two 1 1/6"_s, u"two 1 1/7"_s, u"two 1 1/8"_s, u"two 1 1/9"_s, u"two 1 1/10"_s,
      u"two 1 1/11"_s, u"two 1 1/12"_s},
     {}},
    {"preferences",
     3,
     [](Scene &s) { s.rig.rig.window->openPreferences(); },
     "",
     [](Scene &, QDialog &dialog) { dialog.accept(); },
     {},
     {}},
    {"disconnected message over queued removals",
     3,
     [](Scene &s) {
         s.one.wire.hold(executePath);
         startRemoval(s);
         QVERIFY(s.one.wire.waitForRequests(1, executePath));
         s.one.stream.reset();
     },
     "Server \"One\" disconnected while an operation was in progress.",
     [](Scene &s, QDialog &dialog) {
         answerHeld(s);
         for (int turn = 0; turn < 10; ++turn)
             QVERIFY(s.isAnotherServerHeard());
         dialog.accept();
     },
     {u"one 2 3/3"_s},
     {}},
};

const QStringList knownMessages{
    u"Server \"One\" disconnected."_s,
    u"Server \"Two\" disconnected."_s,
    u"Server \"One\" disconnected while an operation was in progress."_s,
    u"Server \"Two\" disconnected while an operation was in progress."_s,
    u"Server \"One\" became unresponsive while an operation was in progress."_s,
    u"Server \"Two\" became unresponsive while an operation was in progress."_s,
    u"Visual could not be uploaded"_s,
    u"Failed to remove 1 visuals from a total of 2."_s,
};

} // namespace

/// Servers come, go and change while a dialog is open: every dialog with every event, refused and
/// confirmed; in the short form one of the two. Nothing is sent that was not confirmed, and every
/// text is as it should be.
class trust_DialogEvents : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }
    void eventDuringDialog_data();
    void eventDuringDialog();
    void cleanupTestCase() const;

private:
    int pairs = 0;
};

void trust_DialogEvents::eventDuringDialog_data()
{
    QTest::addColumn<int>("subject");
    QTest::addColumn<int>("happening");
    QTest::addColumn<bool>("confirms");
    for (int subject = 0; subject < int(std::size(subjects)); ++subject) {
        for (int happening = 0; happening < int(std::size(happenings)); ++happening) {
            for (const bool confirms : {false, true}) {
                if (!Trust::isFull() && confirms == (subject + happening) % 2)
                    continue;
                QTest::addRow("%s, %s, %s", subjects[subject].name, happenings[happening].name,
                              confirms ? "confirmed" : "refused")
                    << subject << happening << confirms;
            }
        }
    }
}

void trust_DialogEvents::eventDuringDialog()
{
    QFETCH(const int, subject);
    QFETCH(const int, happening);
    QFETCH(const bool, confirms);
    const Subject &about = subjects[subject];
    Scene scene;
    QVERIFY(scene.open(about.folderSlot));

    bool happened = false;
    Watcher watcher([&](QDialog &dialog) {
        const QPointer<QDialog> guard(&dialog);
        happened = happenings[happening].happen(scene);
        if (!guard)
            return; // its task ended with the server
        if (confirms)
            about.confirm(scene, dialog);
        else
            dialog.reject();
    });
    about.open(scene);
    EVENTUALLY(happened);
    QCOMPARE(watcher.subjectText, QString::fromUtf8(about.text));

    // A task whose server has gone, or was never answered, waits for Cancel.
    const auto isOver = [&] {
        if (scene.isTaskRunning() && !scene.one.wire.requests(executePath).isEmpty())
            scene.one.accept();
        for (auto *const dialog : scene.rig.rig.window->findChildren<QDialog *>()) {
            if (dialog->isVisible() && dialog->isModal())
                dialog->reject();
        }
        return !scene.isTaskRunning() || scene.rig.rig.window->findChild<TransferDialog *>();
    };
    QVERIFY(waitFor(isOver));

    Orders orders;
    addOrders(orders, scene.one, u"one"_s);
    addOrders(orders, scene.two, u"two"_s);
    addOrders(orders, scene.three, u"three"_s);
    Orders allowed = about.sent;
    if (confirms)
        allowed.insert(about.confirmed.begin(), about.confirmed.end());
    allowed.insert({u"one 4 /"_s, u"two 4 /"_s, u"three 4 /"_s}); // a cancel harms nobody
    for (const QString &order : orders)
        QVERIFY2(allowed.contains(order), qPrintable(order));
    for (const QString &message : std::as_const(watcher.messages))
        QVERIFY2(knownMessages.contains(message), qPrintable(message));
    if (scene.rig.controller().isComparing())
        QCOMPARE(scene.rig.bankA().selectedRows(), scene.rig.bankB().selectedRows());
    ++pairs;
}

void trust_DialogEvents::cleanupTestCase() const
{
    Trust::report("events during dialogs", u"%1 cases of %2 dialogs and %3 events"_s.arg(pairs)
                                               .arg(std::size(subjects))
                                               .arg(std::size(happenings)));
}

QTEST_MAIN(trust_DialogEvents)
#include "trust_DialogEvents.moc"
