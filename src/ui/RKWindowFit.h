#pragma once

#include <QString>

class QFontMetrics;
class QLabel;
class QMessageBox;
class QWidget;

// Windows sized to their text. A window is at least as wide as its title
// needs beside the window manager's buttons, and a label that wraps shows
// its longest line whole. A line too long for a window breaks where Japanese
// text breaks, after punctuation (、。 and the like) or at a space, never
// inside a word.

// The width window needs for its title: the title in a bold application font
// (what window managers draw titles in) plus room for the frame's icon and
// buttons.
int RKTitleWidth(const QWidget* window);

// The longest text line a window should hold before breaking: about forty
// Japanese characters, less on a narrow screen.
int RKLongestLineWidth(const QWidget* widget);

// text with a line break after the punctuation or space at which each line
// exceeding maxWidth can break; the places it can break are the only ones it
// uses, so a stretch without one stays whole even when wider. Lines that fit
// are left as they are.
QString RKBreakAfterPunctuation(const QString& text, const QFontMetrics& metrics, int maxWidth);

// The width of the widest line of text.
int RKWidestLine(const QString& text, const QFontMetrics& metrics);

// A plain-text label that wraps, after its text was set: broken as above
// for maxWidth, and at least as wide as its widest line.
void RKFitLabelToText(QLabel* label, int maxWidth);

// For a dialog, after its contents are made: its minimum width covers its
// title, and every plain-text label that wraps is broken as above and at
// least as wide as its widest line.
void RKFitToText(QWidget* window);

// For an alert, after its texts are set and before it is shown: its text
// and informative text are broken as above and keep their widest line
// whole, and it is at least as wide as its title needs. (QMessageBox fixes
// its own size from its layout when shown; this makes that layout ask for
// enough.)
void RKFitAlertToText(QMessageBox* alert);
