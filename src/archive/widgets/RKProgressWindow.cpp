#include "archive/widgets/RKProgressWindow.h"

#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKProgressWindow.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace {

// The bar's steps: a tenth of a percent each, as the title shows.
constexpr int kSteps = 1000;

QString preparingText()
{
    return QStringLiteral("準備中");
}

} // namespace

RKProgressWindow::RKProgressWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKProgressWindow>())
{
    ui->setupUi(this);
    progressIndicator = ui->progressIndicator;
    textField = ui->textField;
    btnCansel = ui->btnCansel;
    setWindowModality(Qt::ApplicationModal);
    // Wide enough for the longest title it will show.
    setWindowTitle(progressTitle(1, 1));
    RKFitToText(this);
    setWindowTitle(progressTitle(0, 1));
    connect(btnCansel, &QPushButton::clicked, this, &RKProgressWindow::btCanselTouchUpInside);
}

RKProgressWindow::~RKProgressWindow() = default;

void RKProgressWindow::runArchive(QObject* centreOverWindow, const QStringList& paths,
                                  const RKProfileSetting& archiveProfile,
                                  const QString& archiveUrl)
{
    RKCentreOver(this, centreOverWindow);
    show();
    raise();
    activateWindow();
    doArchive(paths, archiveProfile, archiveUrl);
    raise();
    // The end may already have been handled by an event loop that ran while
    // the archive started; a modal loop started now would never end.
    if (isRunning()) {
        exec();
    }
}

void RKProgressWindow::doArchive(const QStringList& paths, const RKProfileSetting& archiveProfile,
                                 const QString& archiveUrl)
{
    btnCansel->setText(QStringLiteral("キャンセル"));
    textField->setText(preparingText());
    setWindowTitle(progressTitle(0, paths.size()));
    progressIndicator->setRange(0, 1);
    progressIndicator->setValue(0);
    RKArchiveRun::doArchive(paths, archiveProfile, archiveUrl);
}

void RKProgressWindow::changeProgress()
{
    const Progress latest = progress();
    // The bar and the title follow the bytes: a large file moves them as it
    // is written, and 100% means done, not that the last item started.
    const int permyriad = int(latest.share() * kSteps + 1e-6);
    const qint64 left = latest.secondsLeft();
    textField->setText(left < 0 ? latest.fileName
                                : QStringLiteral("%1（残り %2）")
                                      .arg(latest.fileName, RKWorkProgress::duration(left)));
    progressIndicator->setValue(permyriad);
    setWindowTitle(progressTitle(permyriad, kSteps));
}

void RKProgressWindow::doClose(int code)
{
    closeArchive(code);
}

void RKProgressWindow::archiveStarted(int)
{
    progressIndicator->setRange(0, kSteps);
    progressIndicator->setValue(0);
}

void RKProgressWindow::archiveClosed(int code)
{
    textField->setText(preparingText());
    done(code);
}

void RKProgressWindow::btCanselTouchUpInside()
{
    if (isRunning()) {
        cansel();
    }
}

void RKProgressWindow::reject()
{
    if (isRunning()) {
        btCanselTouchUpInside();
    } else {
        QDialog::reject();
    }
}
