#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include "platform/RKAppInfo.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKUnArchiveProgressWindow.h"

#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

RKUnArchiveProgressWindow::RKUnArchiveProgressWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKUnArchiveProgressWindow>())
{
    ui->setupUi(this);
    setWindowModality(Qt::ApplicationModal);
    connect(ui->btnCansel, &QPushButton::clicked, this,
            &RKUnArchiveProgressWindow::btnCancelTouchUpInside);
    // Wide enough for the longest title it will show.
    const QString title = windowTitle();
    setWindowTitle(progressTitle(Phase::FileCopy, 1, 1));
    RKFitToText(this);
    setWindowTitle(title);
}

RKUnArchiveProgressWindow::~RKUnArchiveProgressWindow() = default;

QLabel* RKUnArchiveProgressWindow::textField() const
{
    return ui->textField;
}

QProgressBar* RKUnArchiveProgressWindow::progressInficator() const
{
    return ui->progressInficator;
}

QPushButton* RKUnArchiveProgressWindow::btnCansel() const
{
    return ui->btnCansel;
}

void RKUnArchiveProgressWindow::runUnArchive(QObject* centreOver, const QString& archivePath,
                                             const RKUnArchiveProfileSetting& profile,
                                             const QString& destinationFolder)
{
    RKCentreOver(this, centreOver);
    // Shown before the run starts, so a password prompt has a window to
    // centre over.
    show();
    raise();
    activateWindow();
    doUnArchive(archivePath, profile, destinationFolder);
    exec();
}

void RKUnArchiveProgressWindow::doUnArchive(const QString& archivePath,
                                            const RKUnArchiveProfileSetting& profile,
                                            const QString& destinationFolder)
{
    ui->btnCansel->setText(QStringLiteral("キャンセル"));
    ui->textField->setText(QStringLiteral("準備中"));
    ui->progressInficator->setRange(0, 1);
    ui->progressInficator->setValue(0);
    setWindowTitle(RKAppInfo::applicationTitle());
    RKUnArchiveRun::doUnArchive(archivePath, profile, destinationFolder);
}

void RKUnArchiveProgressWindow::btnCancelTouchUpInside()
{
    cancel();
}

void RKUnArchiveProgressWindow::reject()
{
    btnCancelTouchUpInside();
}

void RKUnArchiveProgressWindow::closeEvent(QCloseEvent* event)
{
    if (!isRunning()) {
        QDialog::closeEvent(event); // no run: nothing to stop
        return;
    }
    event->ignore();
    btnCancelTouchUpInside();
}

void RKUnArchiveProgressWindow::changeProgress()
{
    const Progress latest = progress();
    if (!latest.reported) {
        return; // nothing reported yet in this run ("準備中" stays)
    }
    ui->textField->setText(latest.fileName);
    ui->progressInficator->setRange(0, qMax(latest.total, 1));
    ui->progressInficator->setValue(latest.total == 0 ? 1 : latest.value);
    setWindowTitle(progressTitle(latest.phase, latest.value, latest.total));
}

void RKUnArchiveProgressWindow::runClosed()
{
    done(QDialog::Accepted);
}
