#pragma once

#include <QPixmap>
#include <QString>

// The recorder's button images, drawn on first use and kept by name:
// "SRRemoveShortcut" with its "Rollover" and "Pressed" forms, and
// "SRSnapback". Drawn at twice their size, so they stay sharp on dense
// screens. Main thread only.
class SRSharedImageProvider
{
public:
    static constexpr int kImageSize = 14;

    // A null pixmap for a name it does not draw.
    static QPixmap supportingImageWithName(const QString& name);
};
