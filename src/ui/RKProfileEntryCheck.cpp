#include "ui/RKProfileEntryCheck.h"

namespace {
constexpr qint64 kNoKey = -1;
}

QString RKProfileEntryCheck(const QString& name, const QString& profileID, _KeyCombo combination,
                            const QList<RKStoredShortcut>& sameKind, quint64 passwordCode,
                            qint64 passwordFlags)
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
    for (const RKStoredShortcut& stored : sameKind) {
        if (stored.profileID != profileID && qint64(stored.code) != kNoKey
            && sameCombination(stored.code, stored.flags)) {
            return QString::fromUtf16(u"ショートカット設定が他のプロファイルと重複しています");
        }
    }
    if (sameCombination(passwordCode, passwordFlags)) {
        return QString::fromUtf16(u"ショートカット設定が全体設定のパスワード設定と重複しています");
    }
    return QString();
}
