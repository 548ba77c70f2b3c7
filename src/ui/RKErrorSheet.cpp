#include "ui/RKErrorSheet.h"

#include "platform/RKAppInfo.h"

#include <QMessageBox>

QMessageBox* RKShowErrorSheet(QWidget* window, const QString& informativeText)
{
    auto* alert = new QMessageBox(window);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName(QStringLiteral("errorSheet"));
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(RKAppInfo::applicationTitle());
    alert->setText(QString::fromUtf16(u"エラー"));
    alert->setInformativeText(informativeText);
    alert->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    alert->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    alert->open();
    return alert;
}
