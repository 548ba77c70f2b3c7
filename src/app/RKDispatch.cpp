#include "app/RKDispatch.h"

#include "archive/RKArchiveMultiAnyTime.h"
#include "archive/RKArchiveMultiSameSource.h"
#include "archive/RKArchiveMultiStaticFolder.h"
#include "archive/RKArchiveSingleAnyTime.h"
#include "archive/RKArchiveSingleSameSource.h"
#include "archive/RKArchiveSingleStaticFolder.h"
#include "platform/RKKeyStatus.h"
#include "unarchive/RKUnArchiveMultiAnyTime.h"
#include "unarchive/RKUnArchiveMultiSameSource.h"
#include "unarchive/RKUnArchiveMultiStaticFolder.h"
#include "unarchive/RKUnArchiveSingleAnyTime.h"
#include "unarchive/RKUnArchiveSingleSameSource.h"
#include "unarchive/RKUnArchiveSingleStaticFolder.h"

#include <QFileInfo>

namespace RKDispatch {

namespace {

// Stored key codes are unsigned; all bits set (-1 read as signed) is "none".
bool hasKey(quint64 keyCode)
{
    return static_cast<qint64>(keyCode) != -1;
}

template <typename Profile>
std::optional<Profile> firstHeld(const QList<Profile>& profiles)
{
    for (const Profile& profile : profiles) {
        if (!hasKey(profile.profileShotcutCode)) {
            continue;
        }
        if (ActiveKeyStatus(static_cast<qint64>(profile.profileShotcutCode),
                            profile.profileShotcutFlags)) {
            return profile;
        }
    }
    return std::nullopt;
}

} // namespace

qint32 checkItems(const QStringList& paths)
{
    int archives = 0;
    int others = 0;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isDir()) {
            ++others;
            continue;
        }
        // The text after the last "." of the last component, as a path
        // extension rule gives it ("a.zip" → "zip", ".zip" → "", "a." → "").
        const QString name = info.fileName();
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        const QString extension = dot > 0 ? name.mid(dot + 1) : QString();
        if (extension.toUpper() == QStringLiteral("ZIP")) {
            ++archives;
        } else {
            ++others;
        }
    }
    if (others == 0 && archives > 0) {
        return ItemKindExtract;
    }
    if (others > 0 && archives == 0) {
        return ItemKindCompress;
    }
    return ItemKindRefuse;
}

qint32 itemKind(RKOpenRequest::Mode mode, const QStringList& paths)
{
    if (mode == RKOpenRequest::Mode::Open) {
        return checkItems(paths);
    }
    if (paths.isEmpty()) {
        return ItemKindRefuse;
    }
    return mode == RKOpenRequest::Mode::Compress ? ItemKindCompress : ItemKindExtract;
}

ArchiveJobClass archiveJobClass(qsizetype pathCount, qint32 archiveMode, qint32 saveLocation)
{
    if (pathCount < 1 || saveLocation < 0 || saveLocation > 2) {
        return ArchiveJobClass::None;
    }
    bool multi = false;
    if (pathCount >= 2) {
        if (archiveMode == RKProfileSetting::ArchiveModeMulti) {
            multi = true;
        } else if (archiveMode != RKProfileSetting::ArchiveModeSingle) {
            return ArchiveJobClass::None;
        }
    }
    static const ArchiveJobClass single[] = {ArchiveJobClass::SingleAnyTime,
                                             ArchiveJobClass::SingleSameSource,
                                             ArchiveJobClass::SingleStaticFolder};
    static const ArchiveJobClass perItem[] = {ArchiveJobClass::MultiAnyTime,
                                              ArchiveJobClass::MultiSameSource,
                                              ArchiveJobClass::MultiStaticFolder};
    return multi ? perItem[saveLocation] : single[saveLocation];
}

UnArchiveJobClass unArchiveJobClass(qsizetype pathCount, qint32 saveLocation)
{
    if (pathCount < 1 || saveLocation < 0 || saveLocation > 2) {
        return UnArchiveJobClass::None;
    }
    static const UnArchiveJobClass single[] = {UnArchiveJobClass::SingleAnyTime,
                                               UnArchiveJobClass::SingleSameSource,
                                               UnArchiveJobClass::SingleStaticFolder};
    static const UnArchiveJobClass many[] = {UnArchiveJobClass::MultiAnyTime,
                                             UnArchiveJobClass::MultiSameSource,
                                             UnArchiveJobClass::MultiStaticFolder};
    return pathCount == 1 ? single[saveLocation] : many[saveLocation];
}

namespace {

template <typename Job, typename Profile>
std::shared_ptr<Job> makeJob(const QStringList& paths, const Profile& profile, QObject* window)
{
    return std::make_shared<Job>(paths, profile, window);
}

} // namespace

std::shared_ptr<RKArchiveBase> makeArchiveJob(RKDispatch::ArchiveJobClass jobClass,
                                              const QStringList& paths,
                                              const RKProfileSetting& profile, QObject* window)
{
    using C = RKDispatch::ArchiveJobClass;
    switch (jobClass) {
    case C::SingleAnyTime:
        return makeJob<RKArchiveSingleAnyTime>(paths, profile, window);
    case C::SingleSameSource:
        return makeJob<RKArchiveSingleSameSource>(paths, profile, window);
    case C::SingleStaticFolder:
        return makeJob<RKArchiveSingleStaticFolder>(paths, profile, window);
    case C::MultiAnyTime:
        return makeJob<RKArchiveMultiAnyTime>(paths, profile, window);
    case C::MultiSameSource:
        return makeJob<RKArchiveMultiSameSource>(paths, profile, window);
    case C::MultiStaticFolder:
        return makeJob<RKArchiveMultiStaticFolder>(paths, profile, window);
    case C::None:
        break;
    }
    return nullptr;
}

std::shared_ptr<RKUnArchiveBase> makeUnArchiveJob(RKDispatch::UnArchiveJobClass jobClass,
                                                  const QStringList& paths,
                                                  const RKUnArchiveProfileSetting& profile,
                                                  QObject* window)
{
    using C = RKDispatch::UnArchiveJobClass;
    switch (jobClass) {
    case C::SingleAnyTime:
        return makeJob<RKUnArchiveSingleAnyTime>(paths, profile, window);
    case C::SingleSameSource:
        return makeJob<RKUnArchiveSingleSameSource>(paths, profile, window);
    case C::SingleStaticFolder:
        return makeJob<RKUnArchiveSingleStaticFolder>(paths, profile, window);
    case C::MultiAnyTime:
        return makeJob<RKUnArchiveMultiAnyTime>(paths, profile, window);
    case C::MultiSameSource:
        return makeJob<RKUnArchiveMultiSameSource>(paths, profile, window);
    case C::MultiStaticFolder:
        return makeJob<RKUnArchiveMultiStaticFolder>(paths, profile, window);
    case C::None:
        break;
    }
    return nullptr;
}

QString className(ArchiveJobClass jobClass)
{
    switch (jobClass) {
    case ArchiveJobClass::SingleAnyTime:
        return QStringLiteral("RKArchiveSingleAnyTime");
    case ArchiveJobClass::SingleSameSource:
        return QStringLiteral("RKArchiveSingleSameSource");
    case ArchiveJobClass::SingleStaticFolder:
        return QStringLiteral("RKArchiveSingleStaticFolder");
    case ArchiveJobClass::MultiAnyTime:
        return QStringLiteral("RKArchiveMultiAnyTime");
    case ArchiveJobClass::MultiSameSource:
        return QStringLiteral("RKArchiveMultiSameSource");
    case ArchiveJobClass::MultiStaticFolder:
        return QStringLiteral("RKArchiveMultiStaticFolder");
    case ArchiveJobClass::None:
        break;
    }
    return QString();
}

QString className(UnArchiveJobClass jobClass)
{
    switch (jobClass) {
    case UnArchiveJobClass::SingleAnyTime:
        return QStringLiteral("RKUnArchiveSingleAnyTime");
    case UnArchiveJobClass::SingleSameSource:
        return QStringLiteral("RKUnArchiveSingleSameSource");
    case UnArchiveJobClass::SingleStaticFolder:
        return QStringLiteral("RKUnArchiveSingleStaticFolder");
    case UnArchiveJobClass::MultiAnyTime:
        return QStringLiteral("RKUnArchiveMultiAnyTime");
    case UnArchiveJobClass::MultiSameSource:
        return QStringLiteral("RKUnArchiveMultiSameSource");
    case UnArchiveJobClass::MultiStaticFolder:
        return QStringLiteral("RKUnArchiveMultiStaticFolder");
    case UnArchiveJobClass::None:
        break;
    }
    return QString();
}

std::optional<RKProfileSetting> heldArchiveProfile(const QList<RKProfileSetting>& profiles)
{
    return firstHeld(profiles);
}

std::optional<RKUnArchiveProfileSetting>
heldUnArchiveProfile(const QList<RKUnArchiveProfileSetting>& profiles)
{
    return firstHeld(profiles);
}

bool passwordCombinationHeld(const RKSetting& setting)
{
    if (!hasKey(setting.passwordShotcutCode)) {
        return false;
    }
    return ActiveKeyStatus(static_cast<qint64>(setting.passwordShotcutCode),
                           setting.passwordShotcutFlags);
}

} // namespace RKDispatch
