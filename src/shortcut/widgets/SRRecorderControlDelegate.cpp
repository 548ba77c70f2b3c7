#include "shortcut/widgets/SRRecorderControlDelegate.h"

bool SRRecorderControlDelegate::shortcutRecorderIsKeyCodeAndFlagsTaken(SRRecorderControl*, qint64, quint64, QString*)
{
    return false;
}

void SRRecorderControlDelegate::shortcutRecorderKeyComboDidChange(SRRecorderControl*, _KeyCombo) {}
