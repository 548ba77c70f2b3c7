#include "app/widgets/RKHelpLauncher.h"

#include "app/RKHelpPage.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

namespace {

void alert(QWidget* parent, const QString& informativeText)
{
    auto* box = new QMessageBox(parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Warning);
    box->setText(QString::fromUtf16(u"エラー"));
    box->setInformativeText(informativeText);
    box->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    box->setWindowModality(parent != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
    box->open();
}

} // namespace

bool RKHelpLauncher::openHelpPage(QWidget* parent)
{
    const QUrl url = RKHelpPage::helpUrl();
    if (!url.isValid()) {
        alert(parent, QString::fromUtf16(u"ヘルプページが見つかりません"));
        return false;
    }
    if (!QDesktopServices::openUrl(url)) {
        alert(parent, QString::fromUtf16(u"ヘルプページを開けませんでした"));
        return false;
    }
    return true;
}
