#pragma once

#include <QString>
#include <QtGlobal>

class SRValidator;

// The owner's say in whether a combination is taken.
class SRValidatorDelegate
{
public:
    virtual ~SRValidatorDelegate() = default;

    // True when the combination (stored key code, Cocoa flags) is taken;
    // reason, when given, may be set to the end of the sentence "… can't be
    // used because %@." The default takes nothing.
    virtual bool shortcutValidatorIsKeyCodeAndFlagsTaken(SRValidator* validator, qint64 keyCode, quint64 flags,
                                                         QString* reason);
};
