#include "shortcut/widgets/SRAdditions.h"

#include "ui/RKWindowFit.h"

#include <QMessageBox>

std::unique_ptr<QMessageBox> alertWithNonRecoverableError(const SRValidationError& error, QWidget* parent)
{
    auto alert = std::make_unique<QMessageBox>(parent);
    alert->setText(error.localizedDescription);
    alert->setInformativeText(error.localizedRecoverySuggestion);
    alert->addButton(error.localizedRecoveryOptions.value(0), QMessageBox::AcceptRole);
    RKFitAlertToText(alert.get());
    return alert;
}
