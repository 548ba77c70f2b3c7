#pragma once

class QFileDialog;
class QLabel;

// Qt's file dialog has no message line: one is put above its contents.
QLabel* RKAddPanelMessage(QFileDialog* panel);
