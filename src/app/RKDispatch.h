#pragma once

#include "app/RKOpenRequest.h"
#include "archive/RKArchiveBase.h"
#include "settings/RKProfileSetting.h"
#include "settings/RKSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"
#include "unarchive/RKUnArchiveBase.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// The decisions of the request dispatch that need no window: what the items
// are, which profile a held key combination selects, and which job class a
// request gets.
namespace RKDispatch {

// Item kinds of checkItems().
constexpr qint32 ItemKindCompress = 0;
constexpr qint32 ItemKindExtract = 1;
constexpr qint32 ItemKindRefuse = 9;

// 1 when every path is a file with extension zip (any case), 0 when none is,
// 9 when both kinds are present or the list is empty. A folder whose name
// ends in .zip is not an archive.
qint32 checkItems(const QStringList& paths);

// The kind of a request: checkItems() for an open request; an explicit
// compress or extract request is of its kind whatever the extensions (9 only
// without paths).
qint32 itemKind(RKOpenRequest::Mode mode, const QStringList& paths);

enum class ArchiveJobClass {
    None,
    SingleAnyTime,
    SingleSameSource,
    SingleStaticFolder,
    MultiAnyTime,
    MultiSameSource,
    MultiStaticFolder,
};

enum class UnArchiveJobClass {
    None,
    SingleAnyTime,
    SingleSameSource,
    SingleStaticFolder,
    MultiAnyTime,
    MultiSameSource,
    MultiStaticFolder,
};

// The archive job class for a request of pathCount items: one archive for a
// single item whatever the mode; None for a count of 0 or a value outside
// the table.
ArchiveJobClass archiveJobClass(qsizetype pathCount, qint32 archiveMode, qint32 saveLocation);
// The unarchive job class from the item count and saveLocation alone.
UnArchiveJobClass unArchiveJobClass(qsizetype pathCount, qint32 saveLocation);

// A job of the class for the request, not yet started; nullptr for None.
// window: parent of the job's panels and centre of its windows (may be null).
std::shared_ptr<RKArchiveBase> makeArchiveJob(ArchiveJobClass jobClass, const QStringList& paths,
                                              const RKProfileSetting& profile, QObject* window);
std::shared_ptr<RKUnArchiveBase> makeUnArchiveJob(UnArchiveJobClass jobClass,
                                                  const QStringList& paths,
                                                  const RKUnArchiveProfileSetting& profile,
                                                  QObject* window);

// "RKArchiveSingleAnyTime" …, or an empty string for None.
QString className(ArchiveJobClass jobClass);
QString className(UnArchiveJobClass jobClass);

// The first profile in list order whose key combination is held now (a
// profile whose key code is -1 is skipped), or nullopt.
std::optional<RKProfileSetting> heldArchiveProfile(const QList<RKProfileSetting>& profiles);
std::optional<RKUnArchiveProfileSetting>
heldUnArchiveProfile(const QList<RKUnArchiveProfileSetting>& profiles);

// Whether the settings' password combination is held now (a key code of -1
// counts as not held).
bool passwordCombinationHeld(const RKSetting& setting);

} // namespace RKDispatch
