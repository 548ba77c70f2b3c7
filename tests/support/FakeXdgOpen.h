#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// Stands in for xdg-open while it exists: a script that records its argument
// and ends with the status the test chose.
class FakeXdgOpen
{
public:
    explicit FakeXdgOpen(int exitCode = 0);
    ~FakeXdgOpen();

    // The arguments it was run with, one per run, in order.
    QStringList targets() const;

private:
    QTemporaryDir m_dir;
};
