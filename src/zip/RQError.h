#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

// The error object of the whole system: a code of one of three families
// (archiver, unarchiver, file copy), the family's Japanese message for the
// code, the path or entry name it is about, and, when the system gave one,
// its reason (an errno value). A value type.
class RQError
{
public:
    enum class Family { Archiver, UnArchiver, FileCopy };

    RQError() = default;

    // Archiver family: 1 item missing, 2 adding failed, 4 name stored as "-"
    // (no form in the encoding), 5 the written archive failed its check,
    // 6 characters stored as "_", 7 name numbered, 8 item unreadable, 9 item
    // neither file nor folder (a pipe, socket or device), 10 link whose target
    // is missing, 11 the archive could not be written (path = the archive),
    // 12 nothing could be stored so no archive was made (path = the archive),
    // 200 size, 999 unexpected.
    // systemError: the system's reason (errno), 0 for none.
    static RQError initWithErrorCode(int code, const QString& filePath, int systemError = 0);
    // Unarchiver family: 1 missing, 2 open/list failed, 3 entry failed,
    // 4 entry count of the end record differs from the directory, 5 entry
    // extracted under a numbered name, 6 link not made (its target leaves
    // the destination), 7 wrong password, 999.
    static RQError initWithUnArchiverErrorCode(int code, const QString& filePath,
                                               int systemError = 0);
    // File-copy family: 1 destination folder not made, 2 move failed.
    static RQError initWithFileCopyUtilErrorCode(int code, const QString& filePath,
                                                 int systemError = 0);

    // The application's bundle identifier.
    QString domain() const;
    int code() const { return m_code; }
    Family family() const { return m_family; }

    // True when the code has a message in its family's table.
    bool hasDescription() const { return !m_description.isNull(); }
    // The family's message, or for a code outside the table a generic text
    // naming the domain and code.
    QString localizedDescription() const;
    // The path or entry name the error is about (may be empty).
    QString localizedRecoverySuggestion() const { return m_filePath; }
    // The system's reason (errno), 0 when none was given.
    int systemError() const { return m_systemError; }
    // The system's reason in the words of the windows ("許可がありません");
    // empty when none was given.
    QString localizedFailureReason() const;

    // True when the error reports what a run did in place of the usual (a
    // name changed or numbered, a link not made) while keeping every item it
    // could: an extraction with only such errors is still placed.
    bool isReportOnly() const;

    // True when the archive's data were found damaged (they do not open, do
    // not decode or fail a check), whatever the code says: one code covers
    // several causes, and only some of them are damage.
    bool isDamage() const { return m_damage; }
    // A copy marked as damage.
    RQError asDamage() const;

    bool operator==(const RQError& other) const;

private:
    RQError(Family family, int code, const QString& filePath, int systemError);

    Family m_family = Family::Archiver;
    int m_code = 0;
    QString m_filePath;
    QString m_description;
    int m_systemError = 0;
    bool m_damage = false;
};

Q_DECLARE_METATYPE(RQError)
