#include "ui/RKExclusionFoldersTokenField.h"
