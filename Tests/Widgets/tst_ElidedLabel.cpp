// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ElidedLabel.h"

#include "Support/FailOnWarning.h"

#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

using namespace Qt::Literals::StringLiterals;

/// One line of text, with a tool tip if it does not fit.
class tst_ElidedLabel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }
    void cleanup() { QToolTip::hideText(); }

    void aTextThatJustFitsHasNoToolTip_data() { addFormats(); }
    void aTextThatJustFitsHasNoToolTip()
    {
        QFETCH(const Qt::TextFormat, format);
        ElidedLabel label(nullptr);
        label.setTextFormat(format);
        label.setText(u"Opening night"_s);
        const int width = label.fontMetrics().horizontalAdvance(label.text());
        label.resize(width, 30);
        QVERIFY(!hasToolTip(label));
        label.resize(width - 1, 30);
        QVERIFY(hasToolTip(label));
    }

    void aTextThatDoesNotFitIsElided()
    {
        ElidedLabel label(nullptr);
        label.setTextFormat(Qt::PlainText);
        label.resize(100, 30);
        label.setText(u"Opening night of the season"_s);
        const QImage shown = label.grab().toImage();
        label.setText(label.fontMetrics().elidedText(label.text(), Qt::ElideRight, 100));
        QCOMPARE(label.grab().toImage(), shown);
    }

private:
    static void addFormats()
    {
        QTest::addColumn<Qt::TextFormat>("format");
        QTest::newRow("plain") << Qt::PlainText;
        QTest::newRow("rich") << Qt::RichText;
    }
    static bool hasToolTip(ElidedLabel &label)
    {
        QToolTip::hideText();
        const QPoint place = label.rect().center();
        QHelpEvent event(QEvent::ToolTip, place, label.mapToGlobal(place));
        QCoreApplication::sendEvent(&label, &event);
        return !QToolTip::text().isEmpty();
    }
};

QTEST_MAIN(tst_ElidedLabel)
#include "tst_ElidedLabel.moc"
