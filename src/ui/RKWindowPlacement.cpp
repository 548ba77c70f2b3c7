#include "ui/RKWindowPlacement.h"

#include <QWidget>

void RKCentreOver(QWidget* window, QObject* parent)
{
    auto* parentWidget = qobject_cast<QWidget*>(parent);
    if (!window || !parentWidget) {
        return;
    }
    const QRect outer = parentWidget->window()->geometry();
    const QSize own = window->size();
    window->setGeometry(outer.x() + (outer.width() - own.width()) / 2,
                        outer.y() + (outer.height() - own.height()) / 2, own.width(), own.height());
}
