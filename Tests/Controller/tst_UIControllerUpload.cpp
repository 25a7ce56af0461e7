// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationStage.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QProgressBar>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto accepted = R"({"msg_type":7,"RESULT":0})";
constexpr auto uploadPath = "/brenvoka/upload.html";

/// A folder opened on the screen, and a file to upload.
class UploadStage final
{
public:
    [[nodiscard]] bool open(const QByteArray &content = "content",
                            const QList<MediaFolder> &folders = OperationStage::library(),
                            int folderSlot = 3)
    {
        QFile local(file());
        return local.open(QIODevice::WriteOnly) && local.write(content) == content.size() &&
               stage.openInside(folderSlot, 0, folders);
    }
    /// Selects a row by a click and uploads the file into it.
    void upload(int row = 10)
    {
        clickRow(stage.bankA(), row);
        ModalDriver modals;
        modals.chooseFile(file());
        OperationStage::clickUpload(stage.bankA());
        QCOMPARE(modals.seen().size(), 1);
    }
    /// Does by hand what ModalDriver::chooseFile does.
    void choose(const QDialog &dialog) const
    {
        dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file());
        const auto *const box = dialog.findChild<QDialogButtonBox *>();
        QTest::mouseClick(box->button(QDialogButtonBox::Open), Qt::LeftButton);
    }
    [[nodiscard]] QString file() const
    {
        return stage.rig.rig.sandbox.directory().filePath(u"clip.mov"_s);
    }
    /// What the server was sent.
    [[nodiscard]] QByteArray sentBody() const
    {
        return stage.one.wire.waitForRequests(1, uploadPath)
                   ? stage.one.wire.requests(uploadPath).first().body
                   : QByteArray();
    }
    [[nodiscard]] QDialogButtonBox &buttons(const QString &title) const
    {
        return *stage.dialog(title)->findChild<QDialogButtonBox *>();
    }

    OperationStage stage{loopback(1)};
};

bool hasField(const QByteArray &form, const QByteArray &name, const QByteArray &value)
{
    return form.contains("name=\"" + name + "\"\r\n\r\n" + value + "\r\n");
}

} // namespace

/// Uploading the chosen file into the selected slot, from the click to the fresh library.
class tst_UIControllerUpload : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void theFileGoesToTheSelectedSlot();
    void theDeckDecidesTheServer();
    void aLibraryWithGapsNamesAnotherFolder();
    void fullAndNotAnsweredIsImporting();
    void theDialogIsThereAtOnce();
    void aCancelEndsTheRequest();
    void aFailureIsShownOnceAtTheEnd();
    void aVanishedFileLeavesTheDialogLive();
    void aSecondStartLetsGoOfTheFirst();
    void theServerGoesWhileTheFileDialogIsOpen_data();
    void theServerGoesWhileTheFileDialogIsOpen();
};

void tst_UIControllerUpload::theFileGoesToTheSelectedSlot()
{
    UploadStage upload;
    QVERIFY(upload.open());
    upload.stage.one.wire.answer(uploadPath, accepted);
    upload.upload(10);
    const QByteArray body = upload.sentBody();
    QVERIFY(hasField(body, "folderIdx", "3"));
    QVERIFY(hasField(body, "visualIdx", "9"));
    QVERIFY(body.contains("filename=\"clip.mov\""));
    QVERIFY(body.contains("\r\n\r\ncontent\r\n"));
    QVERIFY(upload.stage.isFetchedAnew(upload.stage.one));
    QVERIFY(upload.stage.two.wire.requests(uploadPath).isEmpty());
    QCOMPARE(upload.stage.two.libraryRequests(), 1);
}

void tst_UIControllerUpload::theDeckDecidesTheServer()
{
    UploadStage upload;
    QVERIFY(upload.open());
    clickRow(upload.stage.bankB(), 10);
    ModalDriver modals;
    modals.chooseFile(upload.file());
    OperationStage::clickUpload(upload.stage.bankB());
    QVERIFY(upload.stage.two.wire.waitForRequests(1, uploadPath));
    QVERIFY(upload.stage.one.wire.requests(uploadPath).isEmpty());
}

// Folder 2 is on show, second in the list; the server is told folder 1.
void tst_UIControllerUpload::aLibraryWithGapsNamesAnotherFolder()
{
    UploadStage upload;
    QVERIFY(upload.open("content", OperationStage::sparseLibrary(), 2));
    upload.upload(10);
    QVERIFY(hasField(upload.sentBody(), "folderIdx", "1"));
}

void tst_UIControllerUpload::theDialogIsThereAtOnce()
{
    UploadStage upload;
    QVERIFY(upload.open());
    upload.upload();
    const BVProgressDialog *const dialog = upload.stage.dialog(u"Uploading..."_s);
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QVERIFY(dialog->isModal());
    QVERIFY(upload.buttons(u"Uploading..."_s).isEnabled());
}

void tst_UIControllerUpload::fullAndNotAnsweredIsImporting()
{
    UploadStage upload;
    QVERIFY(upload.open());
    upload.upload();
    EVENTUALLY(upload.stage.dialog(u"Importing..."_s));
    BVProgressDialog *const dialog = upload.stage.dialog(u"Importing..."_s);
    QCOMPARE(dialog->progress(), 100);
    QCOMPARE(dialog->findChild<QLabel *>()->text(), u"Importing visual"_s);
    QVERIFY(!upload.buttons(u"Importing..."_s).isEnabled());
    QVERIFY(upload.stage.one.wire.waitForRequests(1, uploadPath));
    upload.stage.one.wire.requests(uploadPath).first().answer(accepted);
    QVERIFY(upload.stage.isFetchedAnew(upload.stage.one));
}

void tst_UIControllerUpload::aCancelEndsTheRequest()
{
    UploadStage upload;
    QVERIFY(upload.open());
    QVERIFY(QFile::resize(upload.file(), qint64{1} << 30));
    upload.upload();
    const BVProgressDialog *const dialog = upload.stage.dialog(u"Uploading..."_s);
    // What is left is far more than fits into the buffers on the way.
    connect(dialog->findChild<QProgressBar *>(), &QProgressBar::valueChanged, dialog,
            [&] { upload.stage.one.wire.setReading(false); });
    EVENTUALLY(dialog->progress() > 0);
    QVERIFY(dialog->progress() < 100);
    QTest::mouseClick(upload.buttons(u"Uploading..."_s).button(QDialogButtonBox::Cancel),
                      Qt::LeftButton);
    EVENTUALLY(!upload.stage.hasStarted());
    upload.stage.one.wire.setReading(true);
    QVERIFY(upload.stage.isFetchedAnew(upload.stage.one));
    QVERIFY(upload.stage.one.wire.requests(uploadPath).isEmpty()); // never whole
    QVERIFY(!QApplication::activeModalWidget());
}

void tst_UIControllerUpload::aFailureIsShownOnceAtTheEnd()
{
    UploadStage upload;
    QVERIFY(upload.open());
    upload.stage.one.wire.answer(uploadPath,
                                 R"({"msg_type":7,"RESULT":3,"ERROR":"it is <locked>"})");
    clickRow(upload.stage.bankA(), 10);
    ModalDriver modals;
    modals.chooseFile(upload.file()).press(QMessageBox::Ok);
    OperationStage::clickUpload(upload.stage.bankA());
    EVENTUALLY(!modals.pending());
    QCOMPARE(modals.seen().last().text, u"Visual could not be uploaded"_s);
    QCOMPARE(modals.seen().last().details, u"Upload for visual 009 in folder 003 to server \"One\" "
                                           "failed: it is <locked>."_s);
    QVERIFY(upload.stage.isFetchedAnew(upload.stage.one));
}

void tst_UIControllerUpload::aVanishedFileLeavesTheDialogLive()
{
    UploadStage upload;
    QVERIFY(upload.open());
    clickRow(upload.stage.bankA(), 10);
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        connect(&dynamic_cast<QFileDialog &>(dialog), &QFileDialog::fileSelected, &modals,
                [&] { QVERIFY(QFile::remove(upload.file())); });
        upload.choose(dialog);
    });
    OperationStage::clickUpload(upload.stage.bankA());
    const BVProgressDialog *const dialog = upload.stage.dialog(u"Uploading..."_s);
    QVERIFY(dialog && dialog->isVisible());
    QCOMPARE(dialog->progress(), 0);
    QVERIFY(upload.buttons(u"Uploading..."_s).isEnabled());
    QVERIFY(upload.stage.cancel(u"Uploading..."_s));
    QVERIFY(upload.stage.isFetchedAnew(upload.stage.one));
    QVERIFY(upload.stage.one.wire.requests(uploadPath).isEmpty());
}

void tst_UIControllerUpload::aSecondStartLetsGoOfTheFirst()
{
    LogCapture log;
    UploadStage upload;
    QVERIFY(upload.open());
    {
        const LeakAllowed first;
        upload.upload();
    }
    upload.upload();
    QVERIFY(upload.stage.one.wire.waitForRequests(1, uploadPath));
    upload.stage.one.wire.requests(uploadPath).first().answer(accepted);
    EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
    EVENTUALLY_COMPARE(upload.stage.one.libraryRequests(), 2);
    QCOMPARE(upload.stage.one.wire.requests(uploadPath).size(), 1); // one at a time
}

void tst_UIControllerUpload::theServerGoesWhileTheFileDialogIsOpen_data()
{
    QTest::addColumn<bool>("toldByTheServer");
    QTest::newRow("silence") << false;
    QTest::newRow("end of the stream") << true;
}

// Nobody answers for a server that is gone: the operator ends the task.
void tst_UIControllerUpload::theServerGoesWhileTheFileDialogIsOpen()
{
    QFETCH(const bool, toldByTheServer);
    LogCapture log;
    UploadStage upload;
    QVERIFY(upload.open());
    clickRow(upload.stage.bankA(), 10);
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        if (toldByTheServer)
            upload.stage.one.stream.close();
        else
            upload.stage.lose();
        QVERIFY(waitFor([&] { return !modals.pending(); }));
        upload.choose(dialog);
    });
    if (toldByTheServer)
        modals.press(QMessageBox::Ok);
    OperationStage::clickUpload(upload.stage.bankA());
    QVERIFY(!upload.stage.rig.isConnected(upload.stage.one));
    QVERIFY(
        log.texts().contains(u"Handler not found for id: "_s + upload.stage.one.uuid.toString()));
    QVERIFY(upload.stage.cancel(u"Uploading..."_s));
    EVENTUALLY(!upload.stage.hasStarted());
    QVERIFY(upload.stage.settle(upload.stage.two));
    QCOMPARE(upload.stage.one.libraryRequests(), 1);
}

QTEST_MAIN(tst_UIControllerUpload)
#include "tst_UIControllerUpload.moc"
