#pragma once

#include "shortcut/SRCommon.h"

#include <QString>

class SRRecorderCell;

// The questions and notices of a recorder cell; its control answers them.
class SRRecorderCellDelegate
{
public:
    virtual ~SRRecorderCellDelegate() = default;

    // True when the combination (stored key code, Cocoa flags) is taken; see
    // SRValidatorDelegate. The default takes nothing.
    virtual bool shortcutRecorderCellIsKeyCodeAndFlagsTaken(SRRecorderCell* cell, qint64 keyCode, quint64 flags,
                                                            QString* reason);
    // The combination was recorded, set or cleared.
    virtual void shortcutRecorderCellKeyComboDidChange(SRRecorderCell* cell, _KeyCombo newKeyCombo);
};
