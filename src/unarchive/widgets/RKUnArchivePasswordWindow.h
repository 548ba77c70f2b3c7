#pragma once

#include <QDialog>
#include <QPointer>
#include <QString>

#include <memory>

class QCheckBox;
class QPushButton;
class KSPasswordField;

namespace Ui {
class RKUnArchivePasswordWindow;
}

// The prompt for the password of an encrypted archive. One attempt: its only
// button goes on with whatever was typed, and closing it by the window
// manager or with Escape does the same, since an archive cannot be skipped.
class RKUnArchivePasswordWindow : public QDialog
{
    Q_OBJECT

public:
    explicit RKUnArchivePasswordWindow(QWidget* parent = nullptr);
    ~RKUnArchivePasswordWindow() override;

    // Shows a fresh prompt centred over parent (when given), runs it modally
    // and returns the typed text ("" when nothing was typed).
    static QString runModal(QWidget* parent);

    // The text of the entry when the button was pressed.
    QString password() const { return m_password; }

    KSPasswordField* scPassword() const;
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
