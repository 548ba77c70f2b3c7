#pragma once

#include "shortcut/widgets/SRValidationError.h"

#include <memory>

class QMessageBox;
class QWidget;

// An alert for an error that offers nothing to do but acknowledge it: the
// error's title as its text, its explanation (or nothing) as the informative
// text, and its first button title as the one button.
std::unique_ptr<QMessageBox> alertWithNonRecoverableError(const SRValidationError& error, QWidget* parent = nullptr);
