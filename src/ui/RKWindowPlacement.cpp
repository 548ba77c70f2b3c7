#include "ui/RKWindowPlacement.h"

#include <QScreen>
#include <QWidget>

#include <algorithm>

void RKCentreOver(QWidget* window, QObject* parent)
{
    auto* parentWidget = qobject_cast<QWidget*>(parent);
    if (!window || !parentWidget) {
        return;
    }
    const QRect outer = parentWidget->window()->geometry();
    QSize own = window->size();
    int x = outer.x() + (outer.width() - own.width()) / 2;
    int y = outer.y() + (outer.height() - own.height()) / 2;
    // At a large scale factor on a small screen, a window sized for its
    // content may not fit: it is held to the screen (room left for the
    // frame), its title bar and buttons within reach.
    if (const QScreen* screen = parentWidget->window()->screen()) {
        constexpr int kFrameWidth = 8;
        constexpr int kFrameHeight = 40;
        const QRect available = screen->availableGeometry();
        const QSize room(available.width() - kFrameWidth, available.height() - kFrameHeight);
        if (own.width() > room.width() || own.height() > room.height()) {
            own = own.boundedTo(room).expandedTo(window->minimumSize());
            x = std::clamp(outer.x() + (outer.width() - own.width()) / 2, available.left(),
                           std::max(available.left(), available.right() - own.width() - kFrameWidth));
            y = std::clamp(outer.y() + (outer.height() - own.height()) / 2, available.top(),
                           std::max(available.top(), available.bottom() - own.height() - kFrameHeight));
        }
    }
    window->setGeometry(x, y, own.width(), own.height());
}
