#pragma once

#include "unarchive/RKUnArchiveRun.h"

#include <QDialog>
#include <QString>

#include <memory>

class QLabel;
class QProgressBar;
class QPushButton;

namespace Ui {
class RKUnArchiveProgressWindow;
}

// The unarchive runner's window: the entry or item being worked on, a bar,
// the phase and its percentage in the title and a cancel button over the run
// (RKUnArchiveRun). One window serves every archive of the application, one
// run at a time.
class RKUnArchiveProgressWindow : public QDialog, public RKUnArchiveRun
{
    Q_OBJECT

public:
    explicit RKUnArchiveProgressWindow(QWidget* parent = nullptr);
    ~RKUnArchiveProgressWindow() override;

    // RKUnArchiveRunner: centre over centreOver, doUnArchive, run modally.
    void runUnArchive(QObject* centreOver, const QString& archivePath,
                      const RKUnArchiveProfileSetting& profile,
                      const QString& destinationFolder) override;

    // Starts a run and returns; the caller then runs the window modally.
    void doUnArchive(const QString& archivePath, const RKUnArchiveProfileSetting& profile,
                     const QString& destinationFolder);

    QLabel* textField() const;
    QProgressBar* progressInficator() const;
    QPushButton* btnCansel() const;

public slots:
    void btnCancelTouchUpInside();

protected:
    // Escape and the window manager's close button cancel like the button;
    // the window closes when the run has ended.
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

    QObject* promptWindow() override { return this; }
    void changeProgress() override;
    void runClosed() override;

private:
    std::unique_ptr<Ui::RKUnArchiveProgressWindow> ui;
};
