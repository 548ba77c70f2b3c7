#pragma once

#include <QString>

// Optional receiver of the zip adapter's failure texts and overwrite questions.
// The application never sets one; tools and tests may.
class ZipArchiveDelegate
{
public:
    virtual ~ZipArchiveDelegate() = default;

    // A failure text of the reading side ("Failed", "Error occurs", ...).
    virtual void ErrorMessage(const QString& message);
    // Asked before an existing file is replaced when overwriting is off;
    // true replaces it.
    virtual bool OverWriteOperation(const QString& path);
};
