#pragma once

// Shared by the editor and preferences suites: profiles made in one line,
// every field of a profile in one comparable value, readable texts, the
// window's controls by name and its error alert.

#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QMessageBox>
#include <QString>
#include <gtest/gtest.h>

#include <ostream>
#include <tuple>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace ProfileTestSupport {

constexpr quint64 NoKey = ~quint64(0);
constexpr qint64 Shift = 0x20000, Command = 0x100000;
// Stored key codes.
constexpr quint64 S = 1, R = 15, K = 40, P = 35, F5 = 96;

// A default profile named after its identifier, with a key combination.
template <typename Profile>
Profile profile(const char* id, quint64 code = NoKey, qint64 flags = 0)
{
    Profile made = Profile::DefaultSetting();
    made.profileID = made.profileName = QString::fromUtf8(id);
    made.profileShotcutCode = code;
    made.profileShotcutFlags = flags;
    return made;
}

inline auto fields(const RKProfileSetting& p)
{
    return std::make_tuple(p.profileID, p.profileName, p.destEncoding, p.archiveMode, p.archiveLevel, p.password,
                           p.passMode, p.passwordShow, p.sameFileName, p.exclusionFiles, p.exclusionFolders,
                           p.saveLocation, p.saveStaticFolderPath, p.profileShotcutCode, p.profileShotcutFlags);
}

inline auto fields(const RKUnArchiveProfileSetting& p)
{
    return std::make_tuple(p.profileID, p.profileName, p.sourceEncoding, p.unArchiveMode, p.sameFileName,
                           p.saveLocation, p.saveStaticFolderPath, p.exclusionFiles, p.exclusionFolders,
                           p.profileShotcutCode, p.profileShotcutFlags);
}

template <typename T = QAbstractButton>
T* child(const QWidget* window, const char* name)
{
    T* found = window->findChild<T*>(QString::fromUtf8(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}
inline void click(const QWidget* window, const char* name) { child(window, name)->click(); }
inline void type(const QWidget* window, const char* name, const QString& text)
{
    child<QLineEdit>(window, name)->setText(text);
}

// The reason of the alert on the window, which is dismissed; null when there
// is none.
inline QString takeAlert(const QWidget* window)
{
    auto* alert = window->findChild<QMessageBox*>(QStringLiteral("errorSheet"));
    if (!alert || !alert->isVisible()) {
        return QString();
    }
    EXPECT_EQ(alert->text(), QString::fromUtf16(u"エラー"));
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    EXPECT_EQ(alert->buttons().size(), 1);
    EXPECT_EQ(alert->buttons().value(0)->text(), QStringLiteral("OK"));
    const QString text = alert->informativeText();
    alert->buttons().value(0)->click();
    return text;
}

template <typename Profiles>
QStringList names(const Profiles& profiles)
{
    QStringList names;
    for (const auto& profile : profiles) {
        names.append(profile.profileName);
    }
    return names;
}

} // namespace ProfileTestSupport
