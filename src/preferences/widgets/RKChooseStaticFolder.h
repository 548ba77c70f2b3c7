#pragma once

#include <QString>

class QLineEdit;
class QWidget;

// The folder chooser of both editors' static save location. A chosen folder
// goes into folder and is shown in field at once; a cancel changes nothing.
void RKChooseStaticFolder(QWidget* parent, QString& folder, QLineEdit* field);
