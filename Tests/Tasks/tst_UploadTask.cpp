// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/UploadTask.h"

#include "Support/Loopback.h"
#include "Support/TaskFixture.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto upload = "/brenvoka/upload.html";

} // namespace

/// The upload of a small file into slot 17 of folder 3. The server does not answer yet.
class tst_UploadTask : public TaskTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void dialogAppearsAtOnceWithItsTexts()
    {
        start();
        QVERIFY(fixture->dialog()->isVisible());
        QVERIFY(fixture->dialog()->isModal());
        QCOMPARE(fixture->dialog()->windowTitle(), u"Uploading..."_s);
        QCOMPARE(fixture->label(), u"Uploading visual"_s);
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->dialog()->maximum(), 100);
        QVERIFY(cancelButton(*fixture->dialog())->isEnabled());
    }

    void progressIsShownInPercent()
    {
        fixture->start<UploadTask>(3, 17, directory.filePath(u"missing"_s));
        for (const int percent : {0, 1, 50, 99}) {
            emit fixture->service.uploadedFileProgress(fixture->server.uuid, percent);
            QCOMPARE(fixture->dialog()->progress(), percent);
            QVERIFY(fixture->dialog()->isVisible());
            QVERIFY(cancelButton(*fixture->dialog())->isEnabled());
            QCOMPARE(fixture->dialog()->windowTitle(), u"Uploading..."_s);
            QCOMPARE(fixture->label(), u"Uploading visual"_s);
        }
        QCOMPARE(fixture->finished->size(), 0);
    }

    void importingDisablesCancel()
    {
        start();
        QVERIFY(isImporting());
        QVERIFY(fixture->dialog()->isVisible());
        QCOMPARE(fixture->dialog()->progress(), 100);
        QCOMPARE(fixture->dialog()->maximum(), 100);
        QCOMPARE(fixture->dialog()->windowTitle(), u"Importing..."_s);
        QCOMPARE(fixture->label(), u"Importing visual"_s);
        QVERIFY(!cancelButton(*fixture->dialog())->isEnabled());
        pressCancel(*fixture->dialog());
        QVERIFY(fixture->dialog()->isVisible());
        QCOMPARE(fixture->finished->size(), 0);
    }

    void resultFinishesTheTask()
    {
        start();
        QVERIFY(isImporting());
        const QByteArray body = uploads().constFirst().body;
        QVERIFY(body.contains("name=\"folderIdx\"\r\n\r\n3\r\n"));
        QVERIFY(body.contains("name=\"visualIdx\"\r\n\r\n17\r\n"));
        QVERIFY(body.contains("filename=\"sunset.png\"\r\n\r\nFILE BYTES\r\n"));
        uploads().constFirst().answer(ScriptedServer::success);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->finished->first().first().value<TaskBase *>(), fixture->task.get());
        QVERIFY(!fixture->dialog()->isVisible());
        QCOMPARE(fixture->dialog()->result(), int(QDialog::Accepted));
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
    }

    void earlyResultFinishesTheTask()
    {
        fixture->start<UploadTask>(3, 17, directory.filePath(u"missing"_s));
        emit fixture->service.uploadedFileProgress(fixture->server.uuid, 40);
        emit fixture->service.uploadedFileFinished(fixture->server.uuid);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
    }

    void resultCodes_data() { addResultRows(); }
    void resultCodes()
    {
        QFETCH(const QByteArray, result);
        QFETCH(const QString, text);
        start();
        QVERIFY(isImporting());
        uploads().constFirst().answer(result);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QCOMPARE(fixture->dialog()->result(), int(QDialog::Accepted));
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Visual could not be uploaded"_s);
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Upload for visual 017 in folder 003 to server \"Stage left\" failed: "_s +
                        text + u'.'});
    }

    void networkErrorIsReported()
    {
        start();
        QVERIFY(isImporting());
        uploads().constFirst().answer(ScriptedServer::success, {}, "404 Nothing");
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{
                     u"Upload for visual 017 in folder 003 to server \"Stage left\" failed: "
                     "Error transferring http://" LOOPBACK(1) ":4567/brenvoka/upload.html - server "
                                                              "replied: Nothing."_s});
    }

    void cancelAbortsTheRequestWithoutAnError()
    {
        QSignalSpy progress(&fixture->service, &ServerConnectionService::uploadedFileProgress);
        fixture->server.wire.setReading(false);
        start(QByteArray(64 << 20, 'x'));
        QVERIFY(progress.wait(patience));
        QVERIFY(!fixture->dialog()->isFinished());
        pressCancel(*fixture->dialog());
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
        // Only the stream stays open, and the file did not arrive.
        fixture->server.wire.setReading(true);
        EVENTUALLY_COMPARE(fixture->server.wire.openConnections(), 1);
        QCOMPARE(uploads().size(), 0);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->task->hasErrors());
    }

    void cancelClearsAFailure()
    {
        start();
        emit fixture->service.uploadedFileError(fixture->server.uuid, u"no"_s);
        QVERIFY(fixture->task->hasErrors());
        fixture->dialog()->reject();
        QCOMPARE(fixture->finished->size(), 2);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
    }

    void escapeCancelsWhileImporting()
    {
        start();
        QVERIFY(isImporting());
        QTest::keyClick(fixture->dialog(), Qt::Key_Escape);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
        EVENTUALLY(!uploads().constFirst().isOpen());
    }

    void missingFileLeavesTheDialogAtZeroPercent()
    {
        const QString path = directory.filePath(u"gone.png"_s);
        fixture->start<UploadTask>(3, 17, path);
        QVERIFY(fixture->settle());
        QCOMPARE(uploads().size(), 0);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->dialog()->isVisible());
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->dialog()->windowTitle(), u"Uploading..."_s);
        QVERIFY(cancelButton(*fixture->dialog())->isEnabled());
        pressCancel(*fixture->dialog());
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());

        // The server accepts the next upload.
        start();
        QVERIFY(isImporting());
    }

    void deletionRemovesTheDialogAndConnections()
    {
        start();
        QVERIFY(isImporting());
        const QPointer<BVProgressDialog> dialog = fixture->dialog();
        fixture->task.reset();
        QVERIFY(!dialog);
        // The request continues.
        QSignalSpy sent(&fixture->service, &ServerConnectionService::uploadedFileFinished);
        uploads().constFirst().answer(ScriptedServer::success);
        QVERIFY(sent.wait(patience));
        QCOMPARE(fixture->finished->size(), 0);
    }

private:
    void start(const QByteArray &content = "FILE BYTES")
    {
        QFile local(directory.filePath(u"sunset.png"_s));
        QVERIFY(local.open(QIODevice::WriteOnly));
        QCOMPARE(local.write(content), content.size());
        local.close();
        fixture->start<UploadTask>(3, 17, local.fileName());
    }
    [[nodiscard]] QList<WireRequest> uploads() const
    {
        return fixture->server.wire.requests(upload);
    }
    [[nodiscard]] bool isImporting() const
    {
        return waitFor([this] { return fixture->dialog()->isFinished() && !uploads().isEmpty(); });
    }

    QTemporaryDir directory;
};

QTEST_MAIN(tst_UploadTask)
#include "tst_UploadTask.moc"
