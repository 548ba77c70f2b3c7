#include "shortcut/widgets/SRValidatorDelegate.h"

bool SRValidatorDelegate::shortcutValidatorIsKeyCodeAndFlagsTaken(SRValidator*, qint64, quint64, QString*)
{
    return false;
}
