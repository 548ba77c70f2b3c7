#pragma once

#include <QString>

// The system's reason for a failure (an errno value) in the words of the
// application's windows. A table of our own: the Japanese messages of the C
// library are only there when its locale data are installed, and they follow
// the process's locale rather than the application's language.
namespace RKSystemError {

// "許可がありません" for EACCES, "デバイスに空き領域がありません" for ENOSPC;
// a generic text with the number for a value outside the table; empty for 0.
QString text(int errnum);

} // namespace RKSystemError
