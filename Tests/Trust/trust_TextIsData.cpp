// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/OperationFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/LoopWatch.h"
#include "Support/ModalDriver.h"
#include "Support/Trust.h"
#include "Support/Wait.h"

#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longest = 4096;

/// Texts that would have an effect if they were not treated as data.
QStringList payloads()
{
    const QString alphabet = u"0123456789abcdef"_s;
    QStringList texts{
        u"<b>bold</b>"_s,
        u"<h1>big</h1><hr>"_s,
        u"<img src=/dev/zero>"_s,
        u"<img src='file:///dev/zero'>"_s,
        u"<img src=\"http://127.99.99.99/a.png\">"_s,
        u"<a href=\"http://127.99.99.99/\">link</a>"_s,
        u"<style>*{display:none}</style>"_s,
        u"<script>alert(1)</script>"_s,
        u"<!-- comment"_s,
        u"</p></body></html>"_s,
        u"<table><tr><td>"_s,
        u"file:///etc/shadow"_s,
        u"http://127.99.99.99/"_s,
        u"qrc:/icons/Bin/bitmap/icons/no.png"_s,
        u":/icons/Bin/bitmap/icons/no.png"_s,
        u"/dev/zero"_s,
        u"../../../../etc/shadow"_s,
        u"C:\\Windows\\System32"_s,
        u"&lt;&amp;&#0;&#x202e;"_s,
        u"&File"_s,
        u"%n%s%x%d"_s,
        u"%1 %2 %3 %4 %5 %L1 %99"_s,
        u"%%1%%"_s,
        u"{0} {} {{"_s,
        u"$(reboot) `reboot`; reboot | reboot"_s,
        u"' OR 1=1 --"_s,
        u"\"},{\"slot\":1"_s,
        u"a\nb\r\nc"_s,
        u"a\tb\vc\fd"_s,
        u"a\u0001\u0007\u001b[31mred\u007f"_s,
        u"a\u0085b\u009b31m"_s,
        u"a\u2028b\u2029c"_s,
        u"gnp.\u202egolana\u202c"_s,
        u"a\u2066b\u2067c\u2068d\u2069"_s,
        u"a\u200eb\u200fc\u061cd"_s,
        u"a\u200bb\u200cc\u200dd\u2060e\ufefff"_s,
        u"Zalgo"_s + QString(200, u'\u0301'),
        u"\u05d0\u05d1\u05d2 007 \u0627\u0644\u0641"_s,
        QString(300, u' ') + u"end"_s,
        alphabet.repeated(1 << 16), // 1 MB
    };
    return texts;
}

/// The characters that a shown name must not contain.
bool isHarmless(const QString &shown)
{
    static const QRegularExpression harmful(
        u"[\\x{0000}-\\x{001f}\\x{007f}-\\x{009f}\\x{2028}\\x{2029}\\x{202a}-\\x{202e}"
        "\\x{2066}-\\x{2069}\\x{200e}\\x{200f}\\x{061c}]"_s);
    return !shown.contains(harmful);
}

/// Whether the name is shown as sent, except for harmful characters and excess length.
bool showsName(const QString &text, const QString &name)
{
    if (!isHarmless(text))
        return false;
    return !isHarmless(name) || name.size() > 30 || text.contains(name);
}

MediaFolder folderNamed(const QString &name, int hashNumber)
{
    return folder(0, name,
                  {cachedVisual(1, name, hashNumber), cachedVisual(2, name, hashNumber + 1),
                   cachedVisual(3, name, hashNumber + 2)});
}

} // namespace

/// Forty texts, or some of them in the short form, as names of servers, folders and visuals and as
/// texts of errors, wherever they are shown: in rows, headers, boxes, warnings, messages and
/// details.
class trust_TextIsData : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void textIsShownAsData_data()
    {
        QTest::addColumn<QString>("text");
        const QStringList texts = payloads();
        for (int number = 0; number < texts.size(); number += Trust::size(6, 1))
            QTest::addRow("%02d", number + 1) << texts.at(number);
    }
    void textIsShownAsData()
    {
        QFETCH(const QString, text);
        LogCapture log;
        LoopWatch watch;
        OperationFixture fixture;
        QVERIFY(fixture.show());
        QVERIFY(fixture.connectServer(fixture.one, text.left(80), {folderNamed(text, 10)}));
        QVERIFY(fixture.connectServer(fixture.two, text.left(79), {folderNamed(u"Other"_s, 20)}));
        fixture.two.setLibrary({folderNamed(text + u"!"_s, 20)});
        fixture.two.sendLibraryChanged();
        EVENTUALLY(fixture.controller().connectedServer(fixture.two.uuid).folders.first().name !=
                   u"Other"_s);
        checkRows(fixture, text);

        ModalDriver modals;
        modals.press(QMessageBox::No);
        fixture.clickLeftToRight();
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().text,
                 u"Are you sure you want to synchronize the selected visuals?\n"
                 "The operation may permanently remove or replace visuals in destination slots\n\n"
                 "Note: The operation can not be  undone."_s);

        doubleClickRow(fixture.bankA(), 0);
        EVENTUALLY_COMPARE(listOf(fixture.bankA()).count(), 257);
        EVENTUALLY_COMPARE(listOf(fixture.bankB()).count(), 257);
        checkRows(fixture, text);
        QTextDocument header;
        header.setHtml(childOf<QLabel>(fixture.bankA(), "mediaListFolder").text());
        QVERIFY(header.toPlainText().startsWith(u"Library > "_s));
        QVERIFY(header.toPlainText().size() <= longest + 20);
        QVERIFY2(showsName(header.toPlainText(), text.simplified()),
                 qPrintable(header.toPlainText().left(200)));

        const QByteArray error = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
        fixture.one.refuse(error.sliced(2, error.size() - 4));
        fixture.model.warningLevel = 0;
        clickRow(fixture.bankA(), 2);
        modals.press(QMessageBox::Ok);
        OperationFixture::clickRemove(fixture.bankA());
        EVENTUALLY_COMPARE(modals.seen().size(), 2);
        QCOMPARE(modals.seen().last().text, u"Failed to remove 1 visuals from a total of 1."_s);
        QVERIFY(modals.seen().last().details.startsWith(
            u"Remove visual 001 in folder 000 on server \""_s));
        QVERIFY(modals.seen().last().details.endsWith(u'.'));

        modals.press(QMessageBox::Ok);
        fixture.one.stream.reset();
        EVENTUALLY_COMPARE(modals.seen().size(), 3);
        const QString message = modals.seen().last().text;
        QVERIFY(message.startsWith(u"Server \""_s) && message.endsWith(u"\" disconnected."_s));
        QVERIFY2(showsName(message, text.left(20)), qPrintable(message));

        longestGap = std::max(longestGap, watch.longestGap());
        for (const QString &line : log.lines())
            QVERIFY2(line.startsWith(u'['), qPrintable(line.left(200)));
        ++shown;
    }

    void cleanupTestCase() const
    {
        Trust::report(
            "text is data",
            u"%1 texts in 9 places, longest stop of the event loop %2 ms"_s.arg(shown).arg(
                longestGap));
    }

private:
    void checkRows(const OperationFixture &fixture, const QString &text) const
    {
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            const QString row = listOf(*bank).item(bank->currentFolder == -1 ? 0 : 2)->text();
            QVERIFY2(showsName(row, text), qPrintable(row.left(200)));
            QVERIFY(row.size() <= longest + 1);
            const QString server = ControllerFixture::comboBox(*bank).currentText();
            QVERIFY2(showsName(server, text.left(20)), qPrintable(server));
        }
    }

    int shown = 0;
    qint64 longestGap = 0;
};

QTEST_MAIN(trust_TextIsData)
#include "trust_TextIsData.moc"
