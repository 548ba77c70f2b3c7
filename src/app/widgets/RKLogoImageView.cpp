#include "app/widgets/RKLogoImageView.h"

#include "app/widgets/RKHelpLauncher.h"

#include <QMouseEvent>

namespace {
constexpr int kLogoSize = 72;
}

RKLogoImageView::RKLogoImageView(QWidget* parent)
    : QLabel(parent)
{
    setPixmap(appIconFULL().pixmap(QSize(kLogoSize, kLogoSize)));
    setFixedSize(kLogoSize, kLogoSize);
    setCursor(Qt::PointingHandCursor);
    setToolTip(QString::fromUtf16(u"ヘルプを開く"));
    connect(this, &RKLogoImageView::clicked, this, [this] { RKHelpLauncher::openHelpPage(window()); });
}

QIcon RKLogoImageView::appIconFULL()
{
    return QIcon(QStringLiteral(":/images/AppIconFULL.svg"));
}

void RKLogoImageView::mousePressEvent(QMouseEvent* event)
{
    m_pressed = event->button() == Qt::LeftButton;
    event->accept();
}

void RKLogoImageView::mouseReleaseEvent(QMouseEvent* event)
{
    // A click is a press and a release inside the image, as for a button.
    const bool click = m_pressed && event->button() == Qt::LeftButton
        && rect().contains(event->position().toPoint());
    m_pressed = false;
    event->accept();
    if (click) {
        emit clicked();
    }
}
