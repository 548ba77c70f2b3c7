#include "app/widgets/RKHelpLauncher.h"

#include "app/RKHelpPage.h"
#include "app/widgets/RKHelpWindow.h"
#include "platform/RKXdgOpen.h"
#include "ui/RKErrorSheet.h"
#include "ui/RKWindowPlacement.h"

#include <QPointer>

namespace {

QPointer<RKHelpWindow>& theHelpWindow()
{
    static QPointer<RKHelpWindow> window;
    return window;
}

void showInWindow(QWidget* parent, const QUrl& page)
{
    RKHelpWindow* window = theHelpWindow();
    if (window == nullptr) {
        window = new RKHelpWindow(parent != nullptr ? parent->window() : nullptr);
        theHelpWindow() = window;
        RKCentreOver(window, parent);
    }
    window->showPage(page);
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

bool RKHelpLauncher::openHelpPage(QWidget* parent)
{
    const QUrl url = RKHelpPage::helpUrl();
    if (!url.isValid()) {
        RKShowErrorSheet(parent, QString::fromUtf16(u"ヘルプページが見つかりません"));
        return false;
    }
    QPointer<QWidget> guard(parent);
    RKXdgOpen::open(url.toString(QUrl::FullyEncoded), [guard, parent, url](bool opened) {
        if (opened) {
            return;
        }
        // No browser took it (or xdg-open is missing): the page needs none.
        showInWindow(guard ? parent : nullptr, url);
    });
    return true;
}

RKHelpWindow* RKHelpLauncher::helpWindow()
{
    return theHelpWindow();
}
