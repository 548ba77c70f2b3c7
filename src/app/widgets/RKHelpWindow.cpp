#include "app/widgets/RKHelpWindow.h"

#include "ui/RKWindowFit.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

RKHelpWindow::RKHelpWindow(QWidget* parent)
    : QDialog(parent)
    , m_browser(new QTextBrowser(this))
{
    setObjectName(QStringLiteral("helpWindow"));
    setWindowTitle(QStringLiteral("MOKUZA-FULL ヘルプ"));
    setModal(false);
    m_browser->setObjectName(QStringLiteral("helpBrowser"));
    m_browser->setOpenExternalLinks(true);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* close = buttons->addButton(QStringLiteral("閉じる"), QDialogButtonBox::RejectRole);
    close->setObjectName(QStringLiteral("btnClose"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_browser, 1);
    layout->addWidget(buttons);

    // About forty Japanese characters a line, as the page's own style asks
    // of a browser.
    const int em = fontMetrics().horizontalAdvance(QChar(0x3042));
    resize(em * 48, em * 40);
    RKFitToText(this);
}

void RKHelpWindow::showPage(const QUrl& page)
{
    m_browser->setSource(page, QTextDocument::HtmlResource);
    m_browser->home();
}
