// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/UploadTask.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/TaskRig.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto upload = "/brenvoka/upload.html";

} // namespace

/// The upload of a small file into slot 17 of folder 3. The server holds its answer back.
class tst_UploadTask : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<TaskRig>(loopback(1));
        QVERIFY(rig->connectServer());
    }
    void cleanup() { rig.reset(); }

    void theDialogAppearsAtOnceAndSaysWhatItDoes();
    void progressMovesTheBarInPercent();
    void whenAllIsSentTheServerImportsAndCancelIsDisabled();
    void theResultEndsTheTask();
    void aResultBeforeTheLastPercentEndsTheTask();
    void resultCodes_data() { addResultRows(); }
    void resultCodes();
    void aNetworkFailureIsAFailure();
    void namesInErrorLinesAreTakenLiterally();
    void aVanishedServerIsNamedByNothing();
    void aCancelEndsTheRequestAndShowsNoError();
    void aCancelClearsAFailure();
    void escapeCancelsAlsoWhileTheServerImports();
    void aVanishedFileLeavesTheDialogLiveAtZeroPercent();
    void abortLeavesNothingToShow();
    void abortBeforeTheStartEndsTheTask();
    void aResultOfAnotherServerIsLoggedAndChangesNothing();
    void deletionTakesDialogAndConnectionsAlong();

private:
    void start(const QByteArray &content = "FILE BYTES")
    {
        QFile local(directory.filePath(u"sunset.png"_s));
        QVERIFY(local.open(QIODevice::WriteOnly));
        QCOMPARE(local.write(content), content.size());
        local.close();
        rig->start<UploadTask>(3, 17, local.fileName());
    }
    [[nodiscard]] QList<WireRequest> uploads() const { return rig->server.wire.requests(upload); }
    [[nodiscard]] bool isImporting() const
    {
        return waitFor([this] { return rig->dialog()->isFinished() && !uploads().isEmpty(); });
    }

    QTemporaryDir directory;
    std::unique_ptr<TaskRig> rig;
};

void tst_UploadTask::theDialogAppearsAtOnceAndSaysWhatItDoes()
{
    start();
    QVERIFY(rig->started);
    QVERIFY(rig->dialog()->isVisible());
    QVERIFY(rig->dialog()->isModal());
    QCOMPARE(rig->dialog()->windowTitle(), u"Uploading..."_s);
    QCOMPARE(rig->label(), u"Uploading visual"_s);
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->dialog()->maximum(), 100);
    QVERIFY(cancelButton(*rig->dialog())->isEnabled());
    QCOMPARE(rig->task->affectedServer(), rig->server.uuid);
    QVERIFY(rig->task->involvesServer(rig->server.uuid));
    QVERIFY(!rig->task->involvesServer(QUuid()));
}

void tst_UploadTask::progressMovesTheBarInPercent()
{
    rig->start<UploadTask>(3, 17, directory.filePath(u"missing"_s));
    for (const int percent : {0, 1, 50, 99}) {
        emit rig->service.uploadedFileProgress(rig->server.uuid, percent);
        QCOMPARE(rig->dialog()->progress(), percent);
        QVERIFY(rig->dialog()->isVisible());
        QVERIFY(cancelButton(*rig->dialog())->isEnabled());
        QCOMPARE(rig->dialog()->windowTitle(), u"Uploading..."_s);
        QCOMPARE(rig->label(), u"Uploading visual"_s);
    }
    QCOMPARE(rig->finished->size(), 0);
}

void tst_UploadTask::whenAllIsSentTheServerImportsAndCancelIsDisabled()
{
    start();
    QVERIFY(isImporting());
    QVERIFY(rig->dialog()->isVisible());
    QCOMPARE(rig->dialog()->progress(), 100);
    QCOMPARE(rig->dialog()->maximum(), 100);
    QCOMPARE(rig->dialog()->windowTitle(), u"Importing..."_s);
    QCOMPARE(rig->label(), u"Importing visual"_s);
    QVERIFY(!cancelButton(*rig->dialog())->isEnabled());
    pressCancel(*rig->dialog());
    QVERIFY(rig->dialog()->isVisible());
    QCOMPARE(rig->finished->size(), 0);
}

void tst_UploadTask::theResultEndsTheTask()
{
    start();
    QVERIFY(isImporting());
    const QByteArray body = uploads().constFirst().body;
    QVERIFY(body.contains("name=\"folderIdx\"\r\n\r\n3\r\n"));
    QVERIFY(body.contains("name=\"visualIdx\"\r\n\r\n17\r\n"));
    QVERIFY(body.contains("filename=\"sunset.png\"\r\n\r\nFILE BYTES\r\n"));
    uploads().constFirst().answer(TaskRig::success);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->finished->first().first().value<TaskBase *>(), rig->task.get());
    QVERIFY(!rig->dialog()->isVisible());
    QCOMPARE(rig->dialog()->result(), int(QDialog::Accepted));
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
}

void tst_UploadTask::aResultBeforeTheLastPercentEndsTheTask()
{
    rig->start<UploadTask>(3, 17, directory.filePath(u"missing"_s));
    emit rig->service.uploadedFileProgress(rig->server.uuid, 40);
    emit rig->service.uploadedFileFinished(rig->server.uuid);
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
}

void tst_UploadTask::resultCodes()
{
    QFETCH(const QByteArray, result);
    QFETCH(const QString, text);
    start();
    QVERIFY(isImporting());
    uploads().constFirst().answer(result);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QCOMPARE(rig->dialog()->result(), int(QDialog::Accepted));
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Visual could not be uploaded"_s);
    QCOMPARE(
        rig->task->errorDetails(),
        QStringList{u"Upload for visual 017 in folder 003 to server \"Stage left\" failed: "_s +
                    text + u'.'});
}

void tst_UploadTask::aNetworkFailureIsAFailure()
{
    start();
    QVERIFY(isImporting());
    uploads().constFirst().answer(TaskRig::success, {}, "404 Nothing");
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QCOMPARE(
        rig->task->errorDetails(),
        QStringList{u"Upload for visual 017 in folder 003 to server \"Stage left\" failed: "
                    "Error transferring http://" LOOPBACK(1) ":4567/brenvoka/upload.html - server "
                                                             "replied: Nothing."_s});
}

void tst_UploadTask::namesInErrorLinesAreTakenLiterally()
{
    rig->model.setServerName(rig->server.uuid, u"%4\n%1"_s);
    rig->start<UploadTask>(0, 255, directory.filePath(u"missing"_s));
    emit rig->service.uploadedFileError(rig->server.uuid, u"%2\n%%%"_s.repeated(1000));
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Upload for visual 255 in folder 000 to server \"%4 %1\" failed: "_s +
                         u"%2\n%%%"_s.repeated(1000).left(4096) + u"…."_s});
}

void tst_UploadTask::aVanishedServerIsNamedByNothing()
{
    start();
    emit rig->service.uploadedFileError(rig->server.uuid, u"no"_s);
    QVERIFY(rig->model.removeServer(rig->server.uuid));
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Upload for visual 017 in folder 003 to server \"\" failed: no."_s});
}

void tst_UploadTask::aCancelEndsTheRequestAndShowsNoError()
{
    QSignalSpy progress(&rig->service, &ServerConnectionService::uploadedFileProgress);
    rig->server.wire.setReading(false);
    start(QByteArray(64 << 20, 'x'));
    QVERIFY(progress.wait(patience));
    QVERIFY(!rig->dialog()->isFinished());
    pressCancel(*rig->dialog());
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
    // Only the stream stays open, and the file did not arrive.
    rig->server.wire.setReading(true);
    EVENTUALLY_COMPARE(rig->server.wire.openConnections(), 1);
    QCOMPARE(uploads().size(), 0);
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->task->hasErrors());
}

void tst_UploadTask::aCancelClearsAFailure()
{
    start();
    emit rig->service.uploadedFileError(rig->server.uuid, u"no"_s);
    QVERIFY(rig->task->hasErrors());
    rig->dialog()->reject();
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
}

void tst_UploadTask::escapeCancelsAlsoWhileTheServerImports()
{
    start();
    QVERIFY(isImporting());
    QTest::keyClick(rig->dialog(), Qt::Key_Escape);
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
    EVENTUALLY(!uploads().constFirst().isOpen());
}

void tst_UploadTask::aVanishedFileLeavesTheDialogLiveAtZeroPercent()
{
    const QString path = directory.filePath(u"gone.png"_s);
    rig->start<UploadTask>(3, 17, path);
    QVERIFY(rig->settle());
    QCOMPARE(uploads().size(), 0);
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(rig->dialog()->isVisible());
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->dialog()->windowTitle(), u"Uploading..."_s);
    QVERIFY(cancelButton(*rig->dialog())->isEnabled());
    pressCancel(*rig->dialog());
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());

    // The server takes the next upload.
    start();
    QVERIFY(isImporting());
}

void tst_UploadTask::abortLeavesNothingToShow()
{
    start();
    emit rig->service.uploadedFileError(rig->server.uuid, u"no"_s);
    rig->dialog()->show();
    QVERIFY(rig->task->hasErrors());
    rig->task->abort();
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
}

void tst_UploadTask::abortBeforeTheStartEndsTheTask()
{
    UploadTask task(&rig->model, nullptr, &rig->service, rig->server.uuid, 3, 17, u"x"_s);
    const QSignalSpy finished(&task, &TaskBase::taskFinished);
    task.abort();
    QCOMPARE(finished.size(), 1);
}

void tst_UploadTask::aResultOfAnotherServerIsLoggedAndChangesNothing()
{
    start();
    QVERIFY(isImporting());
    ScriptedServer other(loopback(2));
    QVERIFY(rig->connectTo(other, u"Stage right"_s));
    rig->start<UploadTask>(3, 17, directory.filePath(u"missing"_s));
    const QString file = directory.filePath(u"sunset.png"_s);
    LogCapture log;
    QSignalSpy progress(&rig->service, &ServerConnectionService::uploadedFileProgress);
    QSignalSpy sent(&rig->service, &ServerConnectionService::uploadedFileFinished);
    other.wire.answer(upload, TaskRig::success);
    rig->service.requestUpload(other.uuid, 3, 17, file);
    QVERIFY(sent.wait(patience));
    QSignalSpy refused(&rig->service, &ServerConnectionService::uploadedFileError);
    other.wire.answer(upload, TaskRig::inUse);
    rig->service.requestUpload(other.uuid, 3, 17, file);
    QVERIFY(refused.wait(patience));
    QVERIFY(progress.size() > 0);
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->label(), u"Uploading visual"_s);
    QVERIFY(rig->dialog()->isVisible());
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(log.texts().count(u"Invalid server id in notification "_s + other.uuid.toString()),
             progress.size() + 2);
}

void tst_UploadTask::deletionTakesDialogAndConnectionsAlong()
{
    start();
    QVERIFY(isImporting());
    const QPointer<BVProgressDialog> dialog = rig->dialog();
    rig->task.reset();
    QVERIFY(!dialog);
    // The request is left alone.
    QSignalSpy sent(&rig->service, &ServerConnectionService::uploadedFileFinished);
    uploads().constFirst().answer(TaskRig::success);
    QVERIFY(sent.wait(patience));
    QCOMPARE(rig->finished->size(), 0);
}

QTEST_MAIN(tst_UploadTask)
#include "tst_UploadTask.moc"
