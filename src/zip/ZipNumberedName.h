#pragma once

#include <QString>

// The numbered form of a name that is already taken, the same wherever the
// system must not put one item in the place of another: placing extracted
// items, entry names inside an archive, and the paths entries are extracted
// to. Counting starts at 2.
class ZipNumberedName
{
public:
    // The name split at every "."; the last piece is the extension when there
    // are two or more: "report.final.pdf", 2 → "report.final 2.pdf";
    // "README", 2 → "README 2".
    static QString fileName(const QString& name, int number);
    // "photos", 2 → "photos 2".
    static QString folderName(const QString& name, int number);
};
