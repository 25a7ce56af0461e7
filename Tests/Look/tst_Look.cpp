// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/Picture.h"
#include "Look/Scenes.h"
#include "Support/FailOnWarning.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// The windows and dialogs look like their golden pictures. After an intended change
/// `Scripts/screenshots.sh --golden` takes these again.
class TestLook final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        setUpAppearance();
        const QStringList missing = missingFonts();
        QVERIFY2(missing.isEmpty(), qPrintable(u"Missing fonts: "_s + missing.join(u", "_s)));
    }
    void init() { failOnAnyWarning(); }

    void matchesTheGoldenPicture_data()
    {
        QTest::addColumn<Scene>("scene");
        for (const Scene &scene : windowScenes() + dialogScenes()) {
            if (scene.golden)
                QTest::newRow(qPrintable(scene.name)) << scene;
        }
    }

    void matchesTheGoldenPicture()
    {
        QFETCH(const Scene, scene);
        const QImage golden(
            QDir(QStringLiteral(BRENVOKA_GOLDEN_DIR)).filePath(scene.name + u".png"_s));
        QVERIFY2(!golden.isNull(), "there is no golden picture of this scene");
        const QImage picture = scene.take();
        QVERIFY2(!picture.isNull(), "the scene could not be set up");
        const Difference changed = difference(golden, picture);
        if (changed.pixels <= allowedPixels)
            return;
        const QDir output(QStringLiteral(BRENVOKA_DIFFERENCES_DIR));
        QVERIFY(output.mkpath(u"."_s));
        QVERIFY(picture.save(output.filePath(scene.name + u".png"_s)));
        QVERIFY(changed.picture.save(output.filePath(scene.name + u"-difference.png"_s)));
        QFAIL(qPrintable(u"%1: %2 % of the pixels differ; see %3"_s.arg(
            scene.name, QString::number(100 * changed.share, 'f', 3), output.path())));
    }

private:
    /// Smaller than any sign, letter or edge that an operator would miss.
    static constexpr qint64 allowedPixels = 10;
};

QTEST_MAIN(TestLook)
#include "tst_Look.moc"
