// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/ModalDriver.h"
#include "Support/Pixels.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLineEdit>
#include <QSettings>
#include <QStandardPaths>
#include <QTreeView>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 overwriteWarning = 4;

const auto filters =
    u"All files (*.*);;JPEG (*.jpg *.jpeg);;BMP (*.bmp);;GIF (*.gif);;PNG (*.png);;AVI (*.avi);;"
    "MOV (*.mov);;MP4 (*.mp4);;MPEG (*.mpg *.mpeg);;M2V (*.m2v);;M4V (*.m4v);;MKV (*.mkv);;"
    "MP4 (*.mp4);;VOB (*.vob);;TS (*.ts);;DV (*.dv);;SWF (*.swf);;ASF (*.asf);;WMV (*.wmv);;"
    "MTS (*.mts);;FLV (*.flv);;F4V (*.f4v);;M2TS (*.m2ts);;QTZ (*.qtz);;OBJ (*.obj);;"
    "Mp3 (*.mp3);;FLAC (*.flac);;WAV (*.wav);;AIF (*.aif *.aiff);;APE (*.ape);;WMA (*.wma);;"
    "OGG (*.ogg)"_s;

/// Records the directory that a file dialog opens in and whether a file is chosen, then cancels.
void expectDirectory(ModalDriver &modals, QString &directory)
{
    modals.answer([&directory](QDialog &dialog) {
        directory = dynamic_cast<QFileDialog &>(dialog).directory().path();
        QCOMPARE(dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->text(), QString());
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
}

} // namespace

/// The steps before an upload: the check of the slot, the overwrite warning, the file dialog.
class tst_UIControllerUploadDialogs : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void uploadNeedsExactlyOneSelectedSlot_data()
    {
        QTest::addColumn<bool>("inside");
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<bool>("asks");
        QTest::newRow("one slot") << true << QList<int>{10} << true;
        QTest::newRow("slot 255") << true << QList<int>{256} << true;
        QTest::newRow("one slot and Back") << true << QList<int>{0, 10} << true;
        QTest::newRow("two slots") << true << QList<int>{10, 11} << false;
        QTest::newRow("no slot") << true << QList<int>{} << false;
        QTest::newRow("Back") << true << QList<int>{0} << false;
        QTest::newRow("no visual") << true << QList<int>{1} << false;
        QTest::newRow("a folder") << false << QList<int>{3} << false;
    }
    void uploadNeedsExactlyOneSelectedSlot()
    {
        QFETCH(const bool, inside);
        QFETCH(const QList<int>, rows);
        QFETCH(const bool, asks);
        OperationFixture fixture;
        QVERIFY(inside ? fixture.openInside(3) : fixture.open());
        fixture.bankA().selectRows(rows);
        ModalDriver modals;
        if (asks)
            modals.escape();
        fixture.controller().uploadFile(fixture.one.uuid, 3, 9);
        QCOMPARE(modals.seen().size(), asks ? 1 : 0);
        QVERIFY(!fixture.hasStarted());
    }

    void uploadNeedsAServerInABank()
    {
        ScriptedServer third(loopback(3));
        OperationFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(fixture.connectServer(third, u"Three"_s, OperationFixture::library()));
        fixture.controller().folderChanged(3);
        fixture.bankA().selectRows({10});
        fixture.bankB().selectRows({10});
        const ModalDriver modals;
        fixture.controller().uploadFile(third.uuid, 3, 9);
        QVERIFY(fixture.requestLibrary(third));
        QVERIFY(modals.seen().isEmpty());
        QVERIFY(!fixture.hasStarted());
    }

    void uploadUsesTheSelectionOfTheServersBank()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        fixture.bankA().selectRows({10});
        fixture.bankB().selectRows({10, 11});
        ModalDriver modals;
        modals.escape();
        fixture.controller().uploadFile(fixture.two.uuid, 3, 9);
        QCOMPARE(modals.pending(), 1);
        fixture.controller().uploadFile(fixture.one.uuid, 3, 9);
        QCOMPARE(modals.pending(), 0);
    }

    void onlyAnOccupiedSlotShowsTheWarning_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<quint32>("level");
        QTest::addColumn<bool>("asks");
        QTest::newRow("occupied") << 4 << allWarnings << true;
        QTest::newRow("occupied, no other warning") << 4 << overwriteWarning << true;
        QTest::newRow("occupied, not asked") << 4 << allWarnings - overwriteWarning << false;
        QTest::newRow("empty") << 3 << allWarnings << false;
    }
    void onlyAnOccupiedSlotShowsTheWarning()
    {
        QFETCH(const int, row);
        QFETCH(const quint32, level);
        QFETCH(const bool, asks);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, level));
        clickRow(fixture.bankA(), row);
        ModalDriver modals;
        if (asks)
            modals.press(QMessageBox::Yes);
        modals.escape();
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().size(), asks ? 2 : 1);
        QCOMPARE(modals.seen().last().type, u"QFileDialog"_s);
        QCOMPARE(fixture.model.warningLevel, level);
        QVERIFY(!fixture.hasStarted());
        if (!asks)
            return;
        QCOMPARE(modals.seen().first().title, u"Visual upload"_s);
        QCOMPARE(modals.seen().first().text,
                 u"Are you sure you want to overwrite the selected visual?\n"
                 "The operation will permanently remove the visual in the destination slot"_s);
    }

    void answeringNoOpensNoFileDialog_data() { addRefusals(); }
    void answeringNoOpensNoFileDialog()
    {
        QFETCH(const bool, escape);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        escape ? modals.escape() : modals.press(QMessageBox::No);
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
        QCOMPARE(fixture.model.warningLevel, allWarnings);
    }

    void dontAskAgainIsSavedAtOnce()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        modals.press(u"Yes, don't ask again"_s).escape();
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(fixture.model.warningLevel, allWarnings - overwriteWarning);
        const QSettings settings(settingsFilePath(), QSettings::IniFormat);
        QCOMPARE(settings.value(u"warningLevel"_s).toUInt(), allWarnings - overwriteWarning);
        modals.escape();
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().size(), 3);
        QCOMPARE(modals.seen().last().type, u"QFileDialog"_s);
    }

    // The banks show folder 3, which is third in the list, so folder 2 is checked.
    void aLibraryWithGapsChecksAnotherSlot()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings, OperationFixture::sparseLibrary()));
        QCOMPARE(listOf(fixture.bankA()).item(6)->text(), u"005: Harbour"_s);
        ModalDriver modals;
        clickRow(fixture.bankA(), 6);
        modals.escape();
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().last().type, u"QFileDialog"_s);
        clickRow(fixture.bankA(), 4);
        modals.press(QMessageBox::No);
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().last().type, u"QMessageBox"_s);
    }

    void serverIsLostWhileTheWarningIsOpen()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        modals.answer([&](QDialog &warning) {
            fixture.loseServerA();
            pressYes(warning);
        });
        modals.escape();
        OperationFixture::clickUpload(fixture.bankA());
        QVERIFY(!fixture.isConnected(fixture.one));
        QVERIFY(!fixture.hasStarted());
    }

    void theFileDialogHasItsTitleDirectoryAndFilters()
    {
        OperationFixture fixture;
        const QString documents =
            QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QVERIFY(QDir().mkpath(documents));
        QVERIFY(fixture.openInside(3));
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            const auto &chooser = dynamic_cast<QFileDialog &>(dialog);
            QCOMPARE(chooser.windowTitle(), u"Select file for upload"_s);
            QCOMPARE(chooser.parentWidget(), fixture.window.get());
            QCOMPARE(chooser.directory().path(), documents);
            QCOMPARE(chooser.nameFilters().join(u";;"_s), filters);
            QCOMPARE(chooser.selectedNameFilter(), u"All files (*.*)"_s);
            QCOMPARE(chooser.fileMode(), QFileDialog::ExistingFile);
            QCOMPARE(chooser.acceptMode(), QFileDialog::AcceptOpen);
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(!fixture.hasStarted());
    }

    void theFileDialogOpensInTheLastDirectory()
    {
        OperationFixture fixture;
        const QString documents =
            QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        const QDir clips(fixture.sandbox.directory().filePath(u"clips"_s));
        QVERIFY(QDir().mkpath(documents) && QDir().mkpath(clips.path()));
        QFile file(clips.filePath(u"clip.mov"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(fixture.openInside(3));
        fixture.one.wire.answer("/brenvoka/upload.html", R"({"msg_type":7,"RESULT":0})");
        clickRow(fixture.bankA(), 10);
        QSignalSpy redrawn(listOf(fixture.bankA()).model(), &QAbstractItemModel::modelReset);

        ModalDriver modals;
        modals.chooseFile(file.fileName());
        OperationFixture::clickUpload(fixture.bankA());
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        EVENTUALLY(!redrawn.isEmpty());
        for (int attempt = 0; attempt < 2;
             ++attempt) { // a dialog left without a choice forgets nothing
            QString directory;
            expectDirectory(modals, directory);
            clickRow(fixture.bankA(), 10);
            OperationFixture::clickUpload(fixture.bankA());
            QCOMPARE(directory, clips.canonicalPath());
        }

        QVERIFY(fixture.model.save());
        QFile settings(settingsFilePath());
        QVERIFY(settings.open(QIODevice::ReadOnly));
        QVERIFY(!settings.readAll().contains("clips"));
    }

    // The dialog of Qt takes the two stars of "All files (*.*)" literally.
    void aFileWithoutASuffixIsNotOffered()
    {
        OperationFixture fixture;
        const QDir clips(fixture.sandbox.directory().filePath(u"clips"_s));
        QVERIFY(QDir().mkpath(clips.path()));
        QFile file(clips.filePath(u"clip"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(fixture.openInside(3));
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            // Until the directory is listed, a typed name of a file in it is accepted.
            QSignalSpy listed(dialog.findChild<QFileSystemModel *>(),
                              &QFileSystemModel::directoryLoaded);
            dynamic_cast<QFileDialog &>(dialog).setDirectory(clips);
            EVENTUALLY(listed.contains(QVariantList{clips.path()}));
            dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file.fileName());
            QVERIFY(!dialog.findChild<QDialogButtonBox *>()
                         ->button(QDialogButtonBox::Open)
                         ->isEnabled());
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        OperationFixture::clickUpload(fixture.bankA());
        QCOMPARE(modals.seen().size(), 1);
    }

    void theFileDialogIsReadable_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light desktop") << QPalette(Qt::lightGray);
        QTest::newRow("dark desktop") << QPalette(QColor(40, 40, 40));
    }
    void theFileDialogIsReadable()
    {
        QFETCH(const QPalette, palette);
        const QPalette earlier = QApplication::palette();
        QApplication::setPalette(palette);
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3));
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        modals.answer([](QDialog &dialog) {
            const auto isReadable = [&dialog](const QWidget *widget, const QRect &area) {
                const QRect place(widget->mapTo(&dialog, area.topLeft()), area.size());
                return contrast(dialog.grab(place).toImage()) >= 4.5;
            };
            const auto inside = [](const QWidget &widget) {
                return widget.rect().adjusted(4, 4, -4, -4);
            };
            auto *const files = dialog.findChild<QTreeView *>(u"treeView"_s);
            EVENTUALLY(files->model()->rowCount(files->rootIndex()) > 0);
            const QModelIndex first = files->model()->index(0, 0, files->rootIndex());
            QVERIFY(isReadable(files->viewport(), files->visualRect(first).adjusted(24, 0, 0, 0)));
            QVERIFY(isReadable(files->header()->viewport(), inside(*files->header())));
            for (const char *name : {"lookInLabel", "fileNameLabel", "fileTypeLabel"}) {
                auto *const label = dialog.findChild<QWidget *>(QLatin1String(name));
                QVERIFY2(isReadable(label, label->rect()), name);
            }
            dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(u"clip.mov"_s);
            for (const char *name : {"fileNameEdit", "lookInCombo", "fileTypeCombo"}) {
                auto *const field = dialog.findChild<QWidget *>(QLatin1String(name));
                QVERIFY2(isReadable(field, inside(*field)), name);
            }
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        OperationFixture::clickUpload(fixture.bankA());
        QApplication::setPalette(earlier);
    }
};

QTEST_MAIN(tst_UIControllerUploadDialogs)
#include "tst_UIControllerUploadDialogs.moc"
