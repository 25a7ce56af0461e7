// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/Picture.h"
#include "Look/Scenes.h"
#include "Support/FailOnWarning.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// The windows and dialogs look as they did when their pictures were kept, which
/// `Scripts/screenshots.sh --golden` renews after an intended change.
class TestLook final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        settleLook();
        const QStringList missing = missingFonts();
        QVERIFY2(missing.isEmpty(), qPrintable(u"Missing fonts: "_s + missing.join(u", "_s)));
    }
    void init() { failOnAnyWarning(); }

    void looksAsKept_data()
    {
        QTest::addColumn<Scene>("scene");
        for (const Scene &scene : windowScenes() + dialogScenes()) {
            if (scene.golden)
                QTest::newRow(qPrintable(scene.name)) << scene;
        }
    }

    void looksAsKept()
    {
        QFETCH(const Scene, scene);
        const QImage kept(
            QDir(QStringLiteral(BRENVOKA_GOLDEN_DIR)).filePath(scene.name + u".png"_s));
        QVERIFY2(!kept.isNull(), "no picture is kept of this scene");
        const QImage now = scene.take();
        QVERIFY2(!now.isNull(), "the scene could not be played");
        const Difference changed = difference(kept, now);
        if (changed.pixels <= allowedPixels)
            return;
        const QDir output(QStringLiteral(BRENVOKA_DIFFERENCES_DIR));
        QVERIFY(output.mkpath(u"."_s));
        QVERIFY(now.save(output.filePath(scene.name + u".png"_s)));
        QVERIFY(changed.picture.save(output.filePath(scene.name + u"-difference.png"_s)));
        QFAIL(qPrintable(u"%1: %2 % of the pixels differ; see %3"_s.arg(
            scene.name, QString::number(100 * changed.share, 'f', 3), output.path())));
    }

private:
    /// Less than any sign, letter or edge that an operator would miss.
    static constexpr qint64 allowedPixels = 10;
};

QTEST_MAIN(TestLook)
#include "tst_Look.moc"
