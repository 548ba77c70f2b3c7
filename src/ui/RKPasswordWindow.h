#pragma once

#include "settings/RKProfileSetting.h"

#include <QDialog>
#include <QString>

#include <memory>

class QCheckBox;
class QPushButton;
class KSPasswordField;

namespace Ui {
class RKPasswordWindow;
}

// The window in which the password of an archive is typed by hand. OK is its
// only answer: closing it by the window manager or with Escape confirms the
// typed text as well, since the entry cannot be declined. The show-password
// check box is remembered for the stored profile at once.
class RKPasswordWindow : public QDialog
{
    Q_OBJECT

public:
    explicit RKPasswordWindow(QWidget* parent = nullptr);
    ~RKPasswordWindow() override;

    // Shows a window centred over parent (when given), prepared for profile,
    // runs it modally and returns the confirmed text ("" when none).
    static QString runModal(QWidget* parent, const RKProfileSetting& profile);

    // Keeps the profile, shows the text in clear exactly when the profile's
    // passwordShow is on (the check box to match) and empties the entry.
    void dispInit(const RKProfileSetting& profile);

    // The text confirmed with OK.
    QString password() const { return m_password; }
    RKProfileSetting profile() const { return m_profile; }

    KSPasswordField* scPassword() const;
    QCheckBox* btnShowPassword() const;
    QPushButton* btnOk() const;

public slots:
    void btnOkTouchUpInside();
    void btnShowPasswordTouchUpInside();
    void reject() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::RKPasswordWindow> ui;
    RKProfileSetting m_profile;
    QString m_password;
    // The window is often opened while the key combination that asked for it
    // is still held; its auto-repeat must not type into the entry.
    bool m_ignoreHeldKey = false;
};
