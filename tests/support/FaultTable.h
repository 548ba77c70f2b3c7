#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <ostream>

class QTemporaryDir;

// The faults at the edges of ordinary use, each with what it must leave on
// disk. One table, run through both front ends: the application's jobs (the
// archive and unarchive suites, with scripted services) and the mokuza
// program (the command-line suite). Every row uses the factory profiles with
// "dest" as the fixed destination and the overwrite policy.
namespace FaultTable {

enum class Sandbox {
    None,
    Unprivileged,    // as an unprivileged user: root reads and writes everything
    FullDestination, // "dest" is a file system of 256 KiB of its own
    SmallTemporary,  // the temporary directory is a file system of 5 MiB of its own
};

struct Row {
    const char* name;
    bool extract;          // extracted rather than compressed
    Sandbox sandbox;
    QStringList made;      // in the test folder, in order: "x/" a folder, "x" a file holding "x",
                           // "x|" a FIFO, "x->t" a link to t, "x!" x (made a file when new)
                           // closed to everyone, "x~N" N MiB that do not compress,
                           // "x.zip^" an archive of one entry too deep for paths; for
                           // extraction, "src" is made into src.zip by Info-ZIP
    QStringList given;     // the paths given, relative to the test folder
    QStringList existing;  // in "dest" beforehand, each holding "old"; "!" closes "dest"
    QStringList after;     // "dest" afterwards, as describe() says it
    QStringList errors;    // "<code> <path relative to the test folder>[ <reason>]"; "*" matches anything
    int exit;              // mokuza's exit status (a cancelled row's is the signal's)
    bool cancel = false;   // cancelled while the archive is written
};

QList<Row> rows(bool cancelled);
inline std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.name; }

enum class Entry { Run, Done, Skip };
// Whether this process is to run the current test's row itself (Run). A row
// that needs conditions this process lacks is run again in a child process
// of this binary under them, its failures reported here (Done); a row whose
// conditions cannot be had here answers Skip with the reason.
Entry enter(const Row& row, QString* skipReason);

// Goes on with the test only when this process is to run the row itself.
#define FAULT_TABLE_ENTER(row)                                                                     \
    do {                                                                                           \
        QString faultTableSkip;                                                                    \
        switch (FaultTable::enter(row, &faultTableSkip)) {                                         \
        case FaultTable::Entry::Done: return;                                                      \
        case FaultTable::Entry::Skip: GTEST_SKIP() << faultTableSkip.toStdString();                \
        case FaultTable::Entry::Run: break;                                                        \
        }                                                                                          \
    } while (false)

// The row's files, made below root (the sources below sources when given,
// made there beforehand). Undoes its closed modes when it goes, so that the
// folders can be removed.
class Place
{
public:
    Place(const Row& row, const QString& root, const QString& sources = {});
    ~Place();

    QString root;
    QString dest;
    QString temporary; // the small temporary directory; empty when none
    QStringList given() const;
    // "<code> <path relative to the test folder>[ <reason>]" of an error.
    QString error(int code, const QString& path, const QString& reason) const;

private:
    const Row& m_row;
    QString m_sources;
    QStringList m_closed;
};

// The tree below folder, sorted, hidden entries included: "x/", "x->t",
// "x=content" for up to 16 bytes, "x (N bytes)", "x.zip: a b/" for an
// archive (entries sorted; "unreadable" when it does not read back whole).
QStringList describe(const QString& folder);

// Whether the error lines match the row's, order aside.
bool matches(QStringList errors, QStringList expected);

} // namespace FaultTable
