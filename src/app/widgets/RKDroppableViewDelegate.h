#pragma once

#include <QStringList>

class RKDroppableView;

// Told when files or folders were dropped on an RKDroppableView.
class RKDroppableViewDelegate
{
public:
    virtual ~RKDroppableViewDelegate() = default;

    // paths: the dropped items as absolute local paths, in drop order.
    virtual void droppableViewItemDropped(RKDroppableView* view, const QStringList& paths)
    {
        Q_UNUSED(view);
        Q_UNUSED(paths);
    }
};
