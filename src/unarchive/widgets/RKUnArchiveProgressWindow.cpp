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
    // Extraction follows the bytes of the entries, so a large entry moves
    // the bar as it is written; placing is counted in items.
    const qint64 left = latest.phase == Phase::UnArchive ? latest.secondsLeft() : -1;
    ui->textField->setText(left < 0 ? latest.fileName
                                    : QStringLiteral("%1（残り %2）")
                                          .arg(latest.fileName, RKWorkProgress::duration(left)));
    const int permille = int(latest.share() * 1000 + 1e-6);
    ui->progressInficator->setRange(0, 1000);
    ui->progressInficator->setValue(permille);
    setWindowTitle(progressTitle(latest.phase, latest.workTotal == 0 ? 1 : permille,
                                 latest.workTotal == 0 ? 1 : 1000));
}

void RKUnArchiveProgressWindow::runClosed()
{
    done(QDialog::Accepted);
}
