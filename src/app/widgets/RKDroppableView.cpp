#include "app/widgets/RKDroppableView.h"

#include "app/widgets/RKDroppableViewDelegate.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QPainterPath>
#include <QUrl>

RKDroppableView::RKDroppableView(QWidget* parent)
    : QFrame(parent)
{
    setAcceptDrops(true);
    setMinimumSize(320, 200);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QStringList RKDroppableView::filelistInDraggingInfo(const QMimeData* mimeData)
{
    QStringList paths;
    if (mimeData == nullptr || !mimeData->hasUrls()) {
        return paths;
    }
    for (const QUrl& url : mimeData->urls()) {
        if (!url.isLocalFile() || url.toLocalFile().isEmpty()) {
            return {};
        }
        // A dragged folder may come as "file:///a/b/"; the jobs name archives
        // after the last component, so the trailing slash must go.
        paths.append(QDir::cleanPath(url.toLocalFile()));
    }
    return paths;
}

void RKDroppableView::dragEnterEvent(QDragEnterEvent* event)
{
    if (filelistInDraggingInfo(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    setHighlighted(true);
}

void RKDroppableView::dragMoveEvent(QDragMoveEvent* event)
{
    if (filelistInDraggingInfo(event->mimeData()).isEmpty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void RKDroppableView::dragLeaveEvent(QDragLeaveEvent* event)
{
    setHighlighted(false);
    QFrame::dragLeaveEvent(event);
}

void RKDroppableView::dropEvent(QDropEvent* event)
{
    setHighlighted(false);
    const QStringList paths = filelistInDraggingInfo(event->mimeData());
    if (paths.isEmpty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (m_delegate != nullptr) {
        m_delegate->droppableViewItemDropped(this, paths);
    }
}

void RKDroppableView::setHighlighted(bool highlighted)
{
    if (m_highlighted != highlighted) {
        m_highlighted = highlighted;
        update();
    }
}

void RKDroppableView::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const QPalette& pal = palette();
    const QColor accent = pal.color(QPalette::Highlight);
    const QColor base = pal.color(QPalette::Base);
    const QColor text = pal.color(QPalette::WindowText);

    const QRectF area = QRectF(rect()).adjusted(4, 4, -4, -4);
    QPainterPath outline;
    outline.addRoundedRect(area, 14, 14);
    QColor fill = m_highlighted ? accent : base;
    fill.setAlpha(m_highlighted ? 40 : 255);
    painter.fillPath(outline, fill);
    QPen border(m_highlighted ? accent : pal.color(QPalette::Mid), m_highlighted ? 3 : 2,
                Qt::DashLine);
    border.setDashPattern({6, 4});
    painter.setPen(border);
    painter.drawPath(outline);

    // A downward arrow into a tray: the usual picture for "drop here".
    const QPointF centre(area.center().x(), area.top() + area.height() * 0.34);
    const qreal unit = qMin(area.width(), area.height()) / 14.0;
    QPen arrowPen(m_highlighted ? accent : pal.color(QPalette::Mid), qMax<qreal>(2.0, unit * 0.45),
                  Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(arrowPen);
    painter.drawLine(QPointF(centre.x(), centre.y() - unit * 2.2),
                     QPointF(centre.x(), centre.y() + unit * 0.8));
    painter.drawPolyline(QPolygonF({QPointF(centre.x() - unit * 1.2, centre.y() - unit * 0.4),
                                    QPointF(centre.x(), centre.y() + unit * 0.8),
                                    QPointF(centre.x() + unit * 1.2, centre.y() - unit * 0.4)}));
    painter.drawPolyline(QPolygonF({QPointF(centre.x() - unit * 2.4, centre.y() + unit * 0.6),
                                    QPointF(centre.x() - unit * 2.4, centre.y() + unit * 1.8),
                                    QPointF(centre.x() + unit * 2.4, centre.y() + unit * 1.8),
                                    QPointF(centre.x() + unit * 2.4, centre.y() + unit * 0.6)}));

    QFont hintFont = font();
    hintFont.setPointSizeF(hintFont.pointSizeF() * 1.25);
    hintFont.setBold(true);
    painter.setFont(hintFont);
    painter.setPen(text);
    const qreal textTop = centre.y() + unit * 2.8;
    const QRectF hintRect(area.left() + 12, textTop, area.width() - 24,
                          QFontMetricsF(hintFont).height() * 2.6);
    painter.drawText(hintRect, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                     QString::fromUtf16(u"ここにファイルやフォルダを\nドロップしてください"));

    QFont noteFont = font();
    painter.setFont(noteFont);
    QColor noteColour = text;
    noteColour.setAlpha(150);
    painter.setPen(noteColour);
    const QRectF noteRect(area.left() + 12, hintRect.bottom() + 6, area.width() - 24,
                          QFontMetricsF(noteFont).height() * 2.4);
    painter.drawText(noteRect, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                     QString::fromUtf16(u"ZIP ファイルは解凍、それ以外は圧縮します"));
}
