#include "ui/RKErrorSheet.h"

#include "platform/RKAppInfo.h"

#include <QGridLayout>
#include <QMessageBox>

namespace {
constexpr int kMinimumTextWidth = 320;
}

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
    // A short reason without blanks (Japanese) would otherwise be wrapped
    // into a narrow column.
    if (auto* grid = qobject_cast<QGridLayout*>(alert->layout())) {
        grid->addItem(new QSpacerItem(kMinimumTextWidth, 0, QSizePolicy::Minimum, QSizePolicy::Minimum),
                      grid->rowCount(), 0, 1, grid->columnCount());
    }
    alert->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    alert->open();
    return alert;
}
