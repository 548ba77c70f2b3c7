#include "shortcut/widgets/SRRecorderCellDelegate.h"

bool SRRecorderCellDelegate::shortcutRecorderCellIsKeyCodeAndFlagsTaken(SRRecorderCell*, qint64, quint64, QString*)
{
    return false;
}

void SRRecorderCellDelegate::shortcutRecorderCellKeyComboDidChange(SRRecorderCell*, _KeyCombo) {}
