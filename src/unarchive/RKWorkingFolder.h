#pragma once

#include <QString>
#include <QStringList>

// Where an archive is extracted before its items are placed: a hidden folder
// in the destination folder itself (".mokuza-work-XXXXXX", mode 0700), so
// that placing an item is a rename within one file system, extraction needs
// no room anywhere else, and nothing is copied twice. Only the user can reach
// it; it is locked for as long as it exists and registered with RKLeftovers,
// so that the next start of either program removes one left by a killed run
// (and so does the next extraction into the same destination).
//
// One object per run; any thread, one at a time.
class RKWorkingFolder
{
public:
    RKWorkingFolder() = default;
    // remove().
    ~RKWorkingFolder();

    RKWorkingFolder(const RKWorkingFolder&) = delete;
    RKWorkingFolder& operator=(const RKWorkingFolder&) = delete;

    // Makes a new, empty working folder in destination, making the
    // destination (with its missing parents) first when needed. False, with
    // the system's reason in error(), when it cannot be made; then nothing
    // is left behind. Removes the previous working folder of this object.
    bool make(const QString& destination);

    // The working folder ("…/.mokuza-work-XXXXXX/"); empty when none.
    QString path() const { return m_path; }
    // errno of the last failure of make().
    int error() const { return m_error; }

    // Removes the working folder with everything in it, then the folders
    // make() created for the destination when they are empty now. A failure
    // is ignored: what stays is removed by a later start.
    void remove();

    // Removes what runs that were killed left behind (RKLeftovers); the
    // working folders of running processes stay. Returns how many processes'
    // leftovers it removed.
    static int removeStale();

private:
    QString m_path;
    int m_error = 0;
    int m_lockFd = -1;
    int m_token = 0;
    // Folders made for the destination, the deepest last.
    QStringList m_madeFolders;
};
