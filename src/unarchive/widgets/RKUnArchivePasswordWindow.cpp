#include "unarchive/widgets/RKUnArchivePasswordWindow.h"

#include "ui/KSPasswordField.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKUnArchivePasswordWindow.h"

#include <QCheckBox>
#include <QPushButton>

RKUnArchivePasswordWindow::RKUnArchivePasswordWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKUnArchivePasswordWindow>())
{
    ui->setupUi(this);
    // As loaded: check box off, entry masked.
    ui->btnShowPassword->setChecked(false);
    ui->scPassword->setShowsText(false);
    ui->scPassword->setFocus(Qt::OtherFocusReason);
    connect(ui->btnCancel, &QPushButton::clicked, this,
            &RKUnArchivePasswordWindow::btnCancelTouchUpInside);
    connect(ui->btnShowPassword, &QCheckBox::clicked, this,
            &RKUnArchivePasswordWindow::btnShowPasswordTouchUpInside);
    RKFitToText(this);
}

RKUnArchivePasswordWindow::~RKUnArchivePasswordWindow() = default;

KSPasswordField* RKUnArchivePasswordWindow::scPassword() const
{
    return ui->scPassword;
}

QCheckBox* RKUnArchivePasswordWindow::btnShowPassword() const
{
    return ui->btnShowPassword;
}

QPushButton* RKUnArchivePasswordWindow::btnCancel() const
{
    return ui->btnCancel;
}

QString RKUnArchivePasswordWindow::runModal(QWidget* parent)
{
    RKUnArchivePasswordWindow window(parent);
    window.m_centreOver = parent;
    window.exec();
    return window.password();
}

void RKUnArchivePasswordWindow::btnCancelTouchUpInside()
{
    const QString typed = ui->scPassword->text();
    m_password = typed.isNull() ? QString(QLatin1String("")) : typed;
    done(QDialog::Accepted);
}

void RKUnArchivePasswordWindow::btnShowPasswordTouchUpInside()
{
    ui->scPassword->setShowsText(ui->btnShowPassword->isChecked());
}

void RKUnArchivePasswordWindow::showEvent(QShowEvent* event)
{
    // Placed once its final size is known and before it reaches the screen,
    // so the window system keeps this place.
    RKCentreOver(this, m_centreOver);
    QDialog::showEvent(event);
}

void RKUnArchivePasswordWindow::reject()
{
    btnCancelTouchUpInside();
}
