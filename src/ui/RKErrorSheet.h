#pragma once

#include <QString>

class QMessageBox;
class QWidget;

// Tells the user why an entry was refused: an alert on window (modal to that
// window only, so the rest of the application goes on) with the text
// "エラー", the reason as informative text and one button "OK". Returns at
// once; the alert deletes itself when dismissed. Its object name is
// "errorSheet".
QMessageBox* RKShowErrorSheet(QWidget* window, const QString& informativeText);
