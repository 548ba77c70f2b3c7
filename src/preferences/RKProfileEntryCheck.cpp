#include "preferences/RKProfileEntryCheck.h"

#include "settings/RKSetting.h"

namespace {

constexpr qint64 kNoKey = -1;

template <typename Profile>
QString entryCheck(const QString& name, const Profile& edited, _KeyCombo combination,
                   const QList<Profile>& sameKind, const RKSetting& stored)
{
    if (name.isEmpty()) {
        return QString::fromUtf16(u"プロファイル名は必須です");
    }
    if (combination.code == kNoKey) {
        return QString();
    }
    const auto sameCombination = [&combination](quint64 code, qint64 flags) {
        return qint64(code) == combination.code && flags == qint64(combination.flags);
    };
    for (const Profile& other : sameKind) {
        if (other.profileID != edited.profileID && qint64(other.profileShotcutCode) != kNoKey
            && sameCombination(other.profileShotcutCode, other.profileShotcutFlags)) {
            return QString::fromUtf16(u"ショートカット設定が他のプロファイルと重複しています");
        }
    }
    if (sameCombination(stored.passwordShotcutCode, stored.passwordShotcutFlags)) {
        return QString::fromUtf16(u"ショートカット設定が全体設定のパスワード設定と重複しています");
    }
    return QString();
}

} // namespace

QString RKProfileEntryCheck(const QString& name, const RKProfileSetting& edited,
                            _KeyCombo combination, const RKSetting& stored)
{
    return entryCheck(name, edited, combination, stored.archiveProfiles, stored);
}

QString RKProfileEntryCheck(const QString& name, const RKUnArchiveProfileSetting& edited,
                            _KeyCombo combination, const RKSetting& stored)
{
    return entryCheck(name, edited, combination, stored.unArchiveProfiles, stored);
}
