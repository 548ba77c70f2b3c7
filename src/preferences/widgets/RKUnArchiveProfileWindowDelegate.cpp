#include "preferences/widgets/RKUnArchiveProfileWindowDelegate.h"

void RKUnArchiveProfileWindowDelegate::unArchiveProfileWindowRegister(
    RKUnArchiveProfileWindow*, const std::shared_ptr<RKUnArchiveProfileSetting>&) {}
void RKUnArchiveProfileWindowDelegate::unArchiveProfileWindowCansel(RKUnArchiveProfileWindow*) {}
