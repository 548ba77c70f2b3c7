#pragma once

class QObject;
class QWidget;

// Places window so that its centre lies on the centre of parent's window,
// keeping its size: origin = parent's origin plus half the difference of the
// widths and heights. Client areas are compared, so window frames (alike on
// both) do not shift the result. A window larger than the screen's free area
// is made smaller to fit it and kept on it. Nothing happens when parent is not
// a widget.
void RKCentreOver(QWidget* window, QObject* parent);
