#pragma once

#include <QFrame>
#include <QStringList>

class QMimeData;
class RKDroppableViewDelegate;

// The drop area: accepts local files and folders dragged from the desktop
// and hands their paths to its delegate.
class RKDroppableView : public QFrame
{
    Q_OBJECT

public:
    explicit RKDroppableView(QWidget* parent = nullptr);

    RKDroppableViewDelegate* delegate() const { return m_delegate; }
    // Not owned.
    void setDelegate(RKDroppableViewDelegate* delegate) { m_delegate = delegate; }

    // The dropped items as clean absolute local paths. Empty unless every
    // dragged URL is a local file: a drag that also carries remote addresses
    // is refused as a whole rather than half taken.
    static QStringList filelistInDraggingInfo(const QMimeData* mimeData);

    // True while an acceptable drag is over the view.
    bool isHighlighted() const { return m_highlighted; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void setHighlighted(bool highlighted);

    RKDroppableViewDelegate* m_delegate = nullptr;
    bool m_highlighted = false;
};
