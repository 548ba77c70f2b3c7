#pragma once

#include <memory>

class RKUnArchiveProfileWindow;
struct RKUnArchiveProfileSetting;

// Told how the user left the unarchive profile editor. Both notices are
// optional (empty default body) and come on the main thread after the
// editor's sheet has closed.
class RKUnArchiveProfileWindowDelegate
{
public:
    virtual ~RKUnArchiveProfileWindowDelegate() = default;

    // The user accepted and every check passed; profile is the object given
    // to setTargetProfile, now holding the new values.
    virtual void unArchiveProfileWindowRegister(RKUnArchiveProfileWindow* window,
                                                const std::shared_ptr<RKUnArchiveProfileSetting>& profile);
    // The user cancelled. A static folder chosen meanwhile stays in the profile object.
    virtual void unArchiveProfileWindowCansel(RKUnArchiveProfileWindow* window);
};
