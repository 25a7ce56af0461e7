// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DialogFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/Trust.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QLineEdit>

#include <set>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto executePath = "/brenvoka/execute.html";
constexpr auto notifierPath = "/brenvoka/notifier.html";
constexpr auto uploadPath = "/brenvoka/upload.html";

/// The commands that were sent, as texts such as "one 2 3/5": server, type, folder and slot.
using Orders = std::set<QString>;

void addOrders(Orders &orders, const ScriptedServer &server, const QString &name)
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

/// An event while a dialog is open.
struct Happening
{
    const char *name;
    bool (*happen)(DialogFixture &fixture);
};

bool changeLibrary(DialogFixture &fixture, ScriptedServer &server,
                   const QList<MediaFolder> &library)
{
    if (!fixture.isConnected(server))
        return true;
    const QString before = fixture.controller().connectedServer(server.uuid).hash;
    const bool isFetched = !fixture.isTaskRunning();
    server.setLibrary(library);
    server.sendLibraryChanged();
    // The library replaces the whole record, also the rates by which waitUntilHandled waits.
    return isFetched ? waitFor([&] {
        return fixture.controller().connectedServer(server.uuid).hash != before;
    })
                     : fixture.waitUntilHandled(server);
}

/// A library download that finishes later reconnects the server, which opens another stream.
bool reset(DialogFixture &fixture, ScriptedServer &server)
{
    const auto streams = [&] { return server.wire.requests(notifierPath).size(); };
    const qsizetype before = streams();
    server.stream.reset();
    return waitFor([&] { return !fixture.isConnected(server) || streams() > before; });
}

const Happening happenings[] = {
    {"discovery loses A",
     [](DialogFixture &f) {
         f.controller().removeServer(f.one.uuid);
         return true;
     }},
    {"discovery loses B",
     [](DialogFixture &f) {
         f.controller().removeServer(f.two.uuid);
         return true;
     }},
    {"A disconnects", [](DialogFixture &f) { return reset(f, f.one); }},
    {"B disconnects", [](DialogFixture &f) { return reset(f, f.two); }},
    {"A's library changes",
     [](DialogFixture &f) { return changeLibrary(f, f.one, fullLibrary(1)); }},
    {"B's library changes",
     [](DialogFixture &f) { return changeLibrary(f, f.two, otherLibrary(1)); }},
    {"A is renamed",
     [](DialogFixture &f) {
         f.controller().serverNameChanged(f.one.uuid, u"<b>%1</b>"_s);
         return true;
     }},
    {"B is renamed",
     [](DialogFixture &f) {
         f.controller().serverNameChanged(f.two.uuid, u"<b>%1</b>"_s);
         return true;
     }},
    {"a third server appears",
     [](DialogFixture &f) { return f.connectServer(f.three, u"Three"_s, fullLibrary()); }},
};

/// A dialog: how it is opened, its text, how it is confirmed, and the commands that may be sent
/// before (`sent`) and after it was confirmed (`confirmed`).
struct Subject
{
    const char *name;
    int folderSlot;
    void (*open)(DialogFixture &fixture);
    const char *text;
    void (*confirm)(DialogFixture &fixture, QDialog &dialog);
    Orders sent;
    Orders confirmed;
};

void press(QDialog &dialog, QMessageBox::StandardButton button)
{
    auto *const box = qobject_cast<QMessageBox *>(&dialog);
    QVERIFY(box);
    QTest::mouseClick(box->button(button), Qt::LeftButton);
}

void pressYes(DialogFixture &, QDialog &dialog)
{
    press(dialog, QMessageBox::Yes);
}

void startRemoval(DialogFixture &fixture)
{
    fixture.model.warningLevel = 0;
    fixture.select({4, 6});
    fixture.click("removeButton");
}

/// Answers the open removals, and from now on all others at once.
void answerHeld(DialogFixture &fixture)
{
    fixture.one.accept();
    for (const WireRequest &request : fixture.one.wire.requests(executePath))
        request.answer(R"({"msg_type":7,"RESULT":0})");
}

const Subject subjects[] = {
    {"removal warning",
     3,
     [](DialogFixture &f) {
         f.select({4, 6});
         f.click("removeButton");
     },
     "Are you sure you want to remove the selected visuals?\n\n"
     "Note: The operation can not be undone.",
     pressYes,
     {},
     {u"one 2 3/3"_s, u"one 2 3/5"_s}},
    {"move warning",
     3,
     [](DialogFixture &f) { f.controller().handleMoveVisual(3, 1, ServerDeckA); },
     "Are you sure you want to move the selected visual?\n\n"
     "Note: The operation can not be canceled or undone.",
     pressYes,
     {},
     {u"one 3 3/3"_s}},
    {"overwrite warning",
     3,
     [](DialogFixture &f) {
         f.select({4});
         f.click("addButton");
     },
     "Are you sure you want to overwrite the selected visual?\n"
     "The operation will permanently remove the visual in the destination slot",
     pressYes,
     {},
     {}},
    {"file dialog",
     3,
     [](DialogFixture &f) {
         f.select({10});
         f.click("addButton");
     },
     "",
     [](DialogFixture &f, QDialog &dialog) {
         dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(f.file());
         dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
     },
     {},
     {u"one upload"_s}},
    {"sync warning",
     -1,
     [](DialogFixture &f) {
         f.select({3});
         f.clickLeftToRight();
     },
     "Are you sure you want to synchronize the selected visuals?\n"
     "The operation may permanently remove or replace visuals in destination slots\n\n"
     "Note: The operation can not be  undone.",
     pressYes,
     {},
     {u"two 2 3/7"_s, u"two 1 3/3"_s, u"two 1 3/5"_s}},
    {"large sync warning",
     -1,
     [](DialogFixture &f) {
         f.select({1});
         f.clickLeftToRight();
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
     [](DialogFixture &f) {
         f.one.refuse("no");
         startRemoval(f);
     },
     "Failed to remove 2 visuals from a total of 2.",
     [](DialogFixture &, QDialog &dialog) { dialog.accept(); },
     {u"one 2 3/3"_s, u"one 2 3/5"_s},
     {}},
    {"progress dialog",
     3,
     [](DialogFixture &f) {
         f.one.wire.hold(executePath);
         startRemoval(f);
     },
     "",
     [](DialogFixture &f, QDialog &) { answerHeld(f); },
     {u"one 2 3/3"_s},
     {u"one 2 3/5"_s}},
    {"transfer window",
     -1,
     [](DialogFixture &f) {
         f.model.warningLevel = 0;
         f.select({1});
         f.clickLeftToRight();
     },
     "",
     [](DialogFixture &f, QDialog &) {
         for (int slot = 1; slot <= 12; ++slot)
             f.two.sendStarted({1, slot});
         for (int slot = 1; slot <= 12; ++slot)
             f.two.sendEnded({1, slot}, Brenvoka::SyncFinished);
     },
     {u"two 1 1/1"_s, u"two 1 1/2"_s, u"two 1 1/3"_s, u"two 1 1/4"_s, u"two 1 1/5"_s,
      u"two 1 1/6"_s, u"two 1 1/7"_s, u"two 1 1/8"_s, u"two 1 1/9"_s, u"two 1 1/10"_s,
      u"two 1 1/11"_s, u"two 1 1/12"_s},
     {}},
    {"preferences",
     3,
     [](DialogFixture &f) { f.window->openPreferences(); },
     "",
     [](DialogFixture &, QDialog &dialog) { dialog.accept(); },
     {},
     {}},
    {"disconnected message over queued removals",
     3,
     [](DialogFixture &f) {
         f.one.wire.hold(executePath);
         startRemoval(f);
         QVERIFY(f.one.wire.waitForRequests(1, executePath));
         f.one.stream.reset();
     },
     "Server \"One\" disconnected while an operation was in progress.",
     [](DialogFixture &f, QDialog &dialog) {
         answerHeld(f);
         for (int turn = 0; turn < 10; ++turn)
             QVERIFY(f.waitUntilAnotherIsHandled());
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

/// Servers appear, are lost and change while a dialog is open: every dialog with every event,
/// refused and confirmed; in the short form only one of the two. Only confirmed commands are sent,
/// and every text is known.
class trust_DialogEvents : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void eventDuringDialog_data()
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
    void eventDuringDialog()
    {
        QFETCH(const int, subject);
        QFETCH(const int, happening);
        QFETCH(const bool, confirms);
        const Subject &about = subjects[subject];
        DialogFixture fixture;
        QVERIFY(fixture.open(about.folderSlot));

        bool happened = false;
        Watcher watcher(QString::fromUtf8(about.text), [&](QDialog &dialog) {
            const QPointer<QDialog> guard(&dialog);
            happened = happenings[happening].happen(fixture);
            if (!guard)
                return; // its task ended with the server
            if (confirms)
                about.confirm(fixture, dialog);
            else
                dialog.reject();
        });
        about.open(fixture);
        EVENTUALLY(happened);

        // A task whose server is lost or never answers waits for Cancel.
        const auto isOver = [&] {
            if (fixture.isTaskRunning() && !fixture.one.wire.requests(executePath).isEmpty())
                fixture.one.accept();
            for (auto *const dialog : fixture.window->findChildren<QDialog *>()) {
                if (dialog->isVisible() && dialog->isModal())
                    dialog->reject();
            }
            return !fixture.isTaskRunning() || fixture.window->findChild<TransferDialog *>();
        };
        QVERIFY(waitFor(isOver));

        Orders orders;
        addOrders(orders, fixture.one, u"one"_s);
        addOrders(orders, fixture.two, u"two"_s);
        addOrders(orders, fixture.three, u"three"_s);
        Orders allowed = about.sent;
        if (confirms)
            allowed.insert(about.confirmed.begin(), about.confirmed.end());
        allowed.insert({u"one 4 /"_s, u"two 4 /"_s, u"three 4 /"_s}); // a cancel is always allowed
        for (const QString &order : orders)
            QVERIFY2(allowed.contains(order), qPrintable(order));
        for (const QString &message : std::as_const(watcher.messages))
            QVERIFY2(knownMessages.contains(message), qPrintable(message));
        if (fixture.controller().isComparing())
            QCOMPARE(fixture.bankA().selectedRows(), fixture.bankB().selectedRows());
        ++pairs;
    }

    void cleanupTestCase() const
    {
        Trust::report("events during dialogs", u"%1 cases of %2 dialogs and %3 events"_s.arg(pairs)
                                                   .arg(std::size(subjects))
                                                   .arg(std::size(happenings)));
    }

private:
    int pairs = 0;
};

QTEST_MAIN(trust_DialogEvents)
#include "trust_DialogEvents.moc"
