#include "unarchive/widgets/RKUnArchivePasswordWindow.h"

#include "ui/KSPasswordField.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKUnArchivePasswordWindow.h"

#include <QCheckBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>

RKUnArchivePasswordWindow::RKUnArchivePasswordWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKUnArchivePasswordWindow>())
{
    ui->setupUi(this);
    // An archive's name is shown as it is, never as markup.
    ui->lblMessage->setTextFormat(Qt::PlainText);
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

QLabel* RKUnArchivePasswordWindow::lblMessage() const
{
    return ui->lblMessage;
}

QCheckBox* RKUnArchivePasswordWindow::btnShowPassword() const
{
    return ui->btnShowPassword;
}

QPushButton* RKUnArchivePasswordWindow::btnCancel() const
{
    return ui->btnCancel;
}

void RKUnArchivePasswordWindow::setArchive(const QString& archivePath, bool again)
{
    // Several archives may be dropped at once: the prompt says which one it
    // is about.
    const QString name = QFileInfo(archivePath).fileName();
    ui->lblMessage->setText(
        again ? QStringLiteral("パスワードが正しくありません。「%1」のパスワードをもう一度入力してください。")
                    .arg(name)
              : QStringLiteral("「%1」はパスワードで保護されています。パスワードを入力してください。")
                    .arg(name));
}

QString RKUnArchivePasswordWindow::runModal(QWidget* parent, const QString& archivePath, bool again)
{
    RKUnArchivePasswordWindow window(parent);
    window.setArchive(archivePath, again);
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
