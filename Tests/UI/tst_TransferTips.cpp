// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ControllerFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <QAccessible>
#include <QPushButton>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString inA = u"the server in bank A"_s;
const QString inB = u"the server in bank B"_s;

class TipsFixture final : public ControllerFixture
{
public:
    /// The tool tip as it is shown, without the places where a long word may be divided.
    [[nodiscard]] QString tip(const char *button) const
    {
        QTextDocument document;
        document.setHtml(find<QPushButton>(button).toolTip());
        return document.toPlainText().remove(QChar(0x200b));
    }

    /// What a screen reader reads of the button besides its name.
    [[nodiscard]] QString description(const char *button) const
    {
        auto &widget = find<QPushButton>(button);
        return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Description);
    }

    /// Whether both buttons name these two, as tool tip and for a screen reader.
    [[nodiscard]] bool isNamed(const QString &a, const QString &b) const
    {
        const auto says = [this](const char *button, const QString &text, const QString &other) {
            const QString expected = u"Make "_s + text + u" equal to "_s + other +
                                     u"\nThe selection, or else everything"_s;
            return tip(button) == expected && description(button) == expected;
        };
        return says("leftToRightButton", b, a) && says("rightToLeftButton", a, b);
    }

    Server left = sampleServer(u"Stage left"_s, loopback(1));
    Server right = sampleServer(u"Stage right"_s, loopback(2));
};

} // namespace

/// The tool tips of the transfer buttons name the server that changes and the other one.
class tst_TransferTips final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void banksAreNamedUntilTheyHaveServers()
    {
        TipsFixture fixture;
        QVERIFY(fixture.isNamed(inA, inB));
        fixture.connectServer(fixture.left);
        QVERIFY(fixture.isNamed(u"Stage left"_s, inB));
        fixture.connectServer(fixture.right);
        QVERIFY(fixture.isNamed(u"Stage left"_s, u"Stage right"_s));
    }

    void namesFollowTheBanks()
    {
        TipsFixture fixture;
        fixture.connectServer(fixture.left);
        fixture.connectServer(fixture.right);
        fixture.connectServer(sampleServer(u"Balcony"_s, loopback(3)));
        TipsFixture::choose(fixture.bankB(), u"Balcony"_s);
        QVERIFY(fixture.isNamed(u"Stage left"_s, u"Balcony"_s));
        // Bank B shows the server that bank A takes: it loses it.
        TipsFixture::choose(fixture.bankA(), u"Balcony"_s);
        QVERIFY(fixture.isNamed(u"Balcony"_s, inB));
        TipsFixture::choose(fixture.bankB(), u"Stage right"_s);
        QVERIFY(fixture.isNamed(u"Balcony"_s, u"Stage right"_s));
    }

    void aLostServerIsNotNamed()
    {
        TipsFixture fixture;
        fixture.connectServer(fixture.left);
        fixture.connectServer(fixture.right);
        fixture.controller().removeServer(fixture.right.uuid);
        QVERIFY(fixture.isNamed(u"Stage left"_s, inB));
        fixture.controller().removeServer(fixture.left.uuid);
        QVERIFY(fixture.isNamed(inA, inB));
    }

    void aRenameIsShown()
    {
        TipsFixture fixture;
        fixture.connectServer(fixture.left);
        fixture.connectServer(fixture.right);
        // A rename leaves both banks without a server.
        fixture.controller().serverNameChanged(fixture.left.uuid, u"Balcony"_s);
        QVERIFY(fixture.isNamed(inA, inB));
        TipsFixture::choose(fixture.bankA(), u"Balcony"_s);
        TipsFixture::choose(fixture.bankB(), u"Stage right"_s);
        QVERIFY(fixture.isNamed(u"Balcony"_s, u"Stage right"_s));
    }

    void equalNamesAreNotUsed()
    {
        TipsFixture fixture;
        fixture.right.name = u"Stage left"_s;
        fixture.connectServer(fixture.left);
        fixture.connectServer(fixture.right);
        QVERIFY(fixture.isNamed(inA, inB));
        fixture.controller().removeServer(fixture.right.uuid);
        QVERIFY(fixture.isNamed(u"Stage left"_s, inB));
    }

    void namesAreNoMarkup_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char *title, const QString &name, const QString &shown) {
            QTest::newRow(title) << name << shown;
        };
        row("markup", u"<b>bold</b> &amp; <img src=x>"_s, u"<b>bold</b> &amp; <img src=x>"_s);
        row("placeholder", u"%1 %2"_s, u"%1 %2"_s);
        row("lines", u"one\ntwo\r\nthree"_s, u"one two three"_s);
        row("direction", u"\u202elive\u202c"_s, u"live"_s);
        row("nothing visible", u" \u0001\n"_s, inA);
        row("empty", QString(), inA);
        row("64 letters", u"W"_s.repeated(64), u"W"_s.repeated(64));
        row("enormous", u"W"_s.repeated(100000), u"W"_s.repeated(64) + u'…');
    }
    void namesAreNoMarkup()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, shown);
        TipsFixture fixture;
        fixture.left.name = name;
        fixture.connectServer(fixture.left);
        fixture.connectServer(fixture.right);
        QVERIFY2(fixture.isNamed(shown, u"Stage right"_s),
                 qPrintable(fixture.tip("leftToRightButton")));
    }
};

QTEST_MAIN(tst_TransferTips)
#include "tst_TransferTips.moc"
