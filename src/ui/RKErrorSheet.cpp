#include "ui/RKErrorSheet.h"

#include "platform/RKAppInfo.h"
#include "ui/RKWindowFit.h"

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
    // A reason without blanks (Japanese) would otherwise be wrapped into a
    // narrow column.
    RKFitAlertToText(alert);
    alert->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    alert->open();
    return alert;
}
