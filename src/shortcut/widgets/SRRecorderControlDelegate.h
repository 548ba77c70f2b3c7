#pragma once

#include "shortcut/SRCommon.h"

#include <QString>

class SRRecorderControl;

// What the owner of a recorder answers and hears. The application's windows
// take nothing while recording and check duplicates when the user accepts.
class SRRecorderControlDelegate
{
public:
    virtual ~SRRecorderControlDelegate() = default;

    // True when the owner takes the combination (stored key code, Cocoa
    // flags) itself; reason, when set, ends the sentence "… can't be used
    // because %@." The default takes nothing.
    virtual bool shortcutRecorderIsKeyCodeAndFlagsTaken(SRRecorderControl* recorder, qint64 keyCode, quint64 flags,
                                                        QString* reason);
    // The combination was recorded, set or cleared (code -1).
    virtual void shortcutRecorderKeyComboDidChange(SRRecorderControl* recorder, _KeyCombo newKeyCombo);
};
