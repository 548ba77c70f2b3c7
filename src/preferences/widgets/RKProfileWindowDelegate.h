#pragma once

#include <memory>

class RKProfileWindow;
struct RKProfileSetting;

// Told how the user left the archive profile editor. Both notices are
// optional (empty default body) and come on the main thread after the
// editor's sheet has closed.
class RKProfileWindowDelegate
{
public:
    virtual ~RKProfileWindowDelegate() = default;

    // The user accepted and every check passed; profile is the object given
    // to setTargetProfile, now holding the new values.
    virtual void profileWindowRegister(RKProfileWindow* window,
                                       const std::shared_ptr<RKProfileSetting>& profile);
    // The user cancelled. Values written at once by the immediate controls
    // (static folder, show password) stay in the profile object.
    virtual void profileWindowCansel(RKProfileWindow* window);
};
