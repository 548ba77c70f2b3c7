#pragma once

#include <QDialog>
#include <QPointer>
#include <QString>

#include <memory>

class QCheckBox;
class QLabel;
class QPushButton;
class KSPasswordField;

namespace Ui {
class RKUnArchivePasswordWindow;
}

// The prompt for the password of an encrypted archive, naming the archive.
// Its only button goes on with whatever was typed, and closing it by the
// window manager or with Escape does the same, since an archive cannot be
// skipped.
class RKUnArchivePasswordWindow : public QDialog
{
    Q_OBJECT

public:
    explicit RKUnArchivePasswordWindow(QWidget* parent = nullptr);
    ~RKUnArchivePasswordWindow() override;

    // Shows a fresh prompt for the archive at archivePath centred over parent
    // (when given), runs it modally and returns the typed text ("" when
    // nothing was typed). again: the password typed before did not fit.
    static QString runModal(QWidget* parent, const QString& archivePath, bool again);

    // The prompt's message for the archive.
    void setArchive(const QString& archivePath, bool again);

    // The text of the entry when the button was pressed.
    QString password() const { return m_password; }

    KSPasswordField* scPassword() const;
    QLabel* lblMessage() const;
    QCheckBox* btnShowPassword() const;
    QPushButton* btnCancel() const;

public slots:
    void btnCancelTouchUpInside();
    void btnShowPasswordTouchUpInside();

protected:
    void reject() override;
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::RKUnArchivePasswordWindow> ui;
    QString m_password;
    QPointer<QWidget> m_centreOver;
};
