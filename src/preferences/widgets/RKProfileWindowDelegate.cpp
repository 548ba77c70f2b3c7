#include "preferences/widgets/RKProfileWindowDelegate.h"

void RKProfileWindowDelegate::profileWindowRegister(RKProfileWindow*,
                                                    const std::shared_ptr<RKProfileSetting>&) {}
void RKProfileWindowDelegate::profileWindowCansel(RKProfileWindow*) {}
