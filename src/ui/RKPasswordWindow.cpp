#include "ui/RKPasswordWindow.h"

#include "settings/RKSetting.h"
#include "ui/KSPasswordField.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKPasswordWindow.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QPushButton>

RKPasswordWindow::RKPasswordWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKPasswordWindow>())
{
    ui->setupUi(this);
    // As loaded: check box off, entry masked.
    ui->btnShowPassword->setChecked(false);
    ui->scPassword->setShowsText(false);
    ui->scPassword->installEventFilter(this);
    connect(ui->btnOk, &QPushButton::clicked, this, &RKPasswordWindow::btnOkTouchUpInside);
    connect(ui->btnShowPassword, &QCheckBox::clicked, this,
            &RKPasswordWindow::btnShowPasswordTouchUpInside);
    RKFitToText(this);
}

RKPasswordWindow::~RKPasswordWindow() = default;

KSPasswordField* RKPasswordWindow::scPassword() const
{
    return ui->scPassword;
}

QCheckBox* RKPasswordWindow::btnShowPassword() const
{
    return ui->btnShowPassword;
}

QPushButton* RKPasswordWindow::btnOk() const
{
    return ui->btnOk;
}

QString RKPasswordWindow::runModal(QWidget* parent, const RKProfileSetting& profile)
{
    RKPasswordWindow window(parent);
    window.adjustSize();
    // Placed before it is shown, so the dialog does not place itself anew.
    RKCentreOver(&window, parent);
    window.dispInit(profile);
    window.exec();
    return window.password();
}

void RKPasswordWindow::dispInit(const RKProfileSetting& profile)
{
    m_profile = profile;
    m_password = QString();
    m_ignoreHeldKey = true;
    ui->btnShowPassword->setChecked(profile.passwordShow);
    ui->scPassword->setShowsText(profile.passwordShow);
    ui->scPassword->clear();
    ui->scPassword->setFocus(Qt::OtherFocusReason);
}

bool RKPasswordWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (m_ignoreHeldKey && watched == ui->scPassword
        && (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease)) {
        if (static_cast<QKeyEvent*>(event)->isAutoRepeat()) {
            return true;
        }
        // The first real press or release ends the held key's repeat.
        m_ignoreHeldKey = false;
    }
    return QDialog::eventFilter(watched, event);
}

void RKPasswordWindow::btnOkTouchUpInside()
{
    const QString typed = ui->scPassword->text();
    m_password = typed.isNull() ? QString(QLatin1String("")) : typed;
    done(QDialog::Accepted);
}

void RKPasswordWindow::reject()
{
    btnOkTouchUpInside();
}

void RKPasswordWindow::btnShowPasswordTouchUpInside()
{
    const bool show = ui->btnShowPassword->isChecked();
    ui->scPassword->setShowsText(show);
    m_profile.passwordShow = show;

    RKSetting setting = RKSetting::Setting();
    for (RKProfileSetting& stored : setting.archiveProfiles) {
        if (stored.profileID == m_profile.profileID) {
            stored.passwordShow = show;
            break;
        }
    }
    // Stored also when no profile matched, so every click leaves the store
    // in a known state.
    setting.commit();
}
