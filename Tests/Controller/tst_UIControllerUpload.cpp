// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"

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

constexpr auto uploadPath = "/brenvoka/upload.html";

/// An open folder, and a file to upload.
class UploadFixture final : public OperationFixture
{
public:
    [[nodiscard]] bool open(const QByteArray &content = "content",
                            const QList<MediaFolder> &folders = OperationFixture::library(),
                            int folderSlot = 3)
    {
        QFile local(file());
        return local.open(QIODevice::WriteOnly) && local.write(content) == content.size() &&
               openInside(folderSlot, 0, folders);
    }
    /// Selects a row by a click and uploads the file into it.
    void upload(int row = 10)
    {
        clickRow(bankA(), row);
        ModalDriver modals;
        modals.chooseFile(file());
        OperationFixture::clickUpload(bankA());
        QCOMPARE(modals.seen().size(), 1);
    }
    /// Does the same as ModalDriver::chooseFile.
    void choose(const QDialog &dialog) const
    {
        dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file());
        const auto *const box = dialog.findChild<QDialogButtonBox *>();
        QTest::mouseClick(box->button(QDialogButtonBox::Open), Qt::LeftButton);
    }
    [[nodiscard]] QString file() const { return sandbox.directory().filePath(u"clip.mov"_s); }
    /// The body that the server received.
    [[nodiscard]] QByteArray sentBody() const
    {
        return one.wire.waitForRequests(1, uploadPath) ? one.wire.requests(uploadPath).first().body
                                                       : QByteArray();
    }
    [[nodiscard]] QDialogButtonBox &buttons(const QString &title) const
    {
        return *dialog(title)->findChild<QDialogButtonBox *>();
    }
};

bool hasField(const QByteArray &form, const QByteArray &name, const QByteArray &value)
{
    return form.contains("name=\"" + name + "\"\r\n\r\n" + value + "\r\n");
}

} // namespace

/// Uploading the chosen file into the selected slot, from the click to the new library.
class tst_UIControllerUpload : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void theFileGoesToTheSelectedSlot()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        fixture.one.wire.answer(uploadPath, ScriptedServer::success);
        fixture.upload(10);
        const QByteArray body = fixture.sentBody();
        QVERIFY(hasField(body, "folderIdx", "3"));
        QVERIFY(hasField(body, "visualIdx", "9"));
        QVERIFY(body.contains("filename=\"clip.mov\""));
        QVERIFY(body.contains("\r\n\r\ncontent\r\n"));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QVERIFY(fixture.two.wire.requests(uploadPath).isEmpty());
        QCOMPARE(fixture.two.libraryRequests(), 1);
    }

    void commandGoesToTheServerOfItsBank()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        clickRow(fixture.bankB(), 10);
        ModalDriver modals;
        modals.chooseFile(fixture.file());
        OperationFixture::clickUpload(fixture.bankB());
        QVERIFY(fixture.two.wire.waitForRequests(1, uploadPath));
        QVERIFY(fixture.one.wire.requests(uploadPath).isEmpty());
    }

    // The banks show folder 2, which is second in the list; the upload names folder 1.
    void aLibraryWithGapsSendsAnotherFolderNumber()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open("content", OperationFixture::sparseLibrary(), 2));
        fixture.upload(10);
        QVERIFY(hasField(fixture.sentBody(), "folderIdx", "1"));
    }

    void fullUploadWithoutAnAnswerShowsImporting()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        fixture.upload();
        EVENTUALLY(fixture.dialog(u"Importing..."_s));
        BVProgressDialog *const dialog = fixture.dialog(u"Importing..."_s);
        QCOMPARE(dialog->progress(), 100);
        QCOMPARE(dialog->findChild<QLabel *>()->text(), u"Importing visual"_s);
        QVERIFY(!fixture.buttons(u"Importing..."_s).isEnabled());
        QVERIFY(fixture.one.wire.waitForRequests(1, uploadPath));
        fixture.one.wire.requests(uploadPath).first().answer(ScriptedServer::success);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
    }

    void theDialogIsShownAtOnce()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        fixture.upload();
        const BVProgressDialog *const dialog = fixture.dialog(u"Uploading..."_s);
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        QVERIFY(dialog->isModal());
        QVERIFY(fixture.buttons(u"Uploading..."_s).isEnabled());
    }

    void aCancelEndsTheRequest()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(QFile::resize(fixture.file(), qint64{1} << 30));
        fixture.upload();
        const BVProgressDialog *const dialog = fixture.dialog(u"Uploading..."_s);
        // The rest is far larger than the socket buffers.
        connect(dialog->findChild<QProgressBar *>(), &QProgressBar::valueChanged, dialog,
                [&] { fixture.one.wire.setReading(false); });
        EVENTUALLY(dialog->progress() > 0);
        QVERIFY(dialog->progress() < 100);
        QTest::mouseClick(fixture.buttons(u"Uploading..."_s).button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
        EVENTUALLY(!fixture.hasStarted());
        fixture.one.wire.setReading(true);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QVERIFY(fixture.one.wire.requests(uploadPath).isEmpty()); // never complete
        QVERIFY(!QApplication::activeModalWidget());
    }

    void aFailureIsShownOnceAtTheEnd()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        fixture.one.wire.answer(uploadPath,
                                R"({"msg_type":7,"RESULT":3,"ERROR":"it is <locked>"})");
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        modals.chooseFile(fixture.file()).press(QMessageBox::Ok);
        OperationFixture::clickUpload(fixture.bankA());
        EVENTUALLY(!modals.pending());
        QCOMPARE(modals.seen().last().text, u"Visual could not be uploaded"_s);
        QCOMPARE(modals.seen().last().details,
                 u"Upload for visual 009 in folder 003 to server \"One\" "
                 "failed: it is <locked>."_s);
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
    }

    void aDeletedFileKeepsTheDialogEnabled()
    {
        UploadFixture fixture;
        QVERIFY(fixture.open());
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            connect(&dynamic_cast<QFileDialog &>(dialog), &QFileDialog::fileSelected, &modals,
                    [&] { QVERIFY(QFile::remove(fixture.file())); });
            fixture.choose(dialog);
        });
        OperationFixture::clickUpload(fixture.bankA());
        const BVProgressDialog *const dialog = fixture.dialog(u"Uploading..."_s);
        QVERIFY(dialog && dialog->isVisible());
        QCOMPARE(dialog->progress(), 0);
        QVERIFY(fixture.buttons(u"Uploading..."_s).isEnabled());
        QVERIFY(fixture.cancel(u"Uploading..."_s));
        QVERIFY(fixture.hasDownloadedAgain(fixture.one));
        QVERIFY(fixture.one.wire.requests(uploadPath).isEmpty());
    }

    void aSecondStartAbandonsTheFirstTask()
    {
        LogCapture log;
        UploadFixture fixture;
        QVERIFY(fixture.open());
        {
            const LeakAllowed first;
            fixture.upload();
        }
        fixture.upload();
        QVERIFY(fixture.one.wire.waitForRequests(1, uploadPath));
        fixture.one.wire.requests(uploadPath).first().answer(ScriptedServer::success);
        EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
        EVENTUALLY_COMPARE(fixture.one.libraryRequests(), 2);
        QCOMPARE(fixture.one.wire.requests(uploadPath).size(), 1); // one at a time
    }

    void serverIsLostWhileTheFileDialogIsOpen_data() { addLosses(); }
    // A lost server never answers: the operator cancels the task.
    void serverIsLostWhileTheFileDialogIsOpen()
    {
        QFETCH(const bool, endsItsStream);
        LogCapture log;
        UploadFixture fixture;
        QVERIFY(fixture.open());
        clickRow(fixture.bankA(), 10);
        ModalDriver modals;
        fixture.loseServerADuring(modals, endsItsStream,
                                  [&](QDialog &dialog) { fixture.choose(dialog); });
        OperationFixture::clickUpload(fixture.bankA());
        QVERIFY(!fixture.isConnected(fixture.one));
        QVERIFY(
            log.texts().contains(u"Handler not found for id: "_s + fixture.one.uuid.toString()));
        QVERIFY(fixture.cancel(u"Uploading..."_s));
        EVENTUALLY(!fixture.hasStarted());
        QVERIFY(fixture.requestLibrary(fixture.two));
        QCOMPARE(fixture.one.libraryRequests(), 1);
    }
};

QTEST_MAIN(tst_UIControllerUpload)
#include "tst_UIControllerUpload.moc"
