#pragma once

#include <QString>
#include <QStringList>

// What a taken key combination is reported with: a title, an explanation
// and the titles of the alert's buttons (one, "OK").
struct SRValidationError {
    QString localizedDescription;
    QString localizedRecoverySuggestion;
    QStringList localizedRecoveryOptions;
};
