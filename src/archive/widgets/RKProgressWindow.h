#pragma once

#include "archive/RKArchiveRun.h"

#include <QDialog>
#include <QString>
#include <QStringList>

#include <memory>

class QLabel;
class QProgressBar;
class QPushButton;

namespace Ui {
class RKProgressWindow;
}

// The archive runner's window: a status line, a bar, the percentage in the
// title and a cancel button over the run (RKArchiveRun). One instance serves
// every archive of the process.
class RKProgressWindow : public QDialog, public RKArchiveRun
{
    Q_OBJECT

public:
    explicit RKProgressWindow(QWidget* parent = nullptr);
    ~RKProgressWindow() override;

    // RKArchiveRunner: centre over centreOver, bring to the front, doArchive,
    // then the modal loop until doClose ends it.
    void runArchive(QObject* centreOver, const QStringList& filePaths,
                    const RKProfileSetting& profile, const QString& url) override;

    // Starts one archive: status "準備中", then the run (the manual password
    // window may appear over the runner). Returns at once. Main thread.
    void doArchive(const QStringList& filePaths, const RKProfileSetting& profile,
                   const QString& url);
    // Shows the latest progress pair. Main thread.
    void changeProgress() override;
    // Ends the current archive and its modal loop with code 0 (done), 1 (done
    // with errors) or -1 (cancelled). Main thread.
    void doClose(int code);

public slots:
    // The cancel button: the writer stops between two chunks and drops the
    // archive being written.
    void btCanselTouchUpInside();

protected:
    // Escape and the window's close button cancel like the button: the
    // window must not go away while the writer is still running.
    void reject() override;

    QObject* passwordWindow() override { return this; }
    void archiveStarted(int total) override;
    void archiveClosed(int code) override;

private:
    std::unique_ptr<Ui::RKProgressWindow> ui;
    QProgressBar* progressIndicator = nullptr;
    QLabel* textField = nullptr;
    QPushButton* btnCansel = nullptr;
};
